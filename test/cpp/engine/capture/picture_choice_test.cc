#include "capture/picture_choice.h"

#include <gtest/gtest.h>

namespace NimboEngine::test {
namespace {

constexpr VideoFormat kCamera{320, 240, 30};
constexpr VideoFormat kScreen{640, 360, 15};

class PictureChoiceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { gst_init(nullptr, nullptr); }

  // Of one picture each, by which they are known.
  struct Box {
    Box() { mailbox->put(picture.get()); }
    const GstPtr<GstBuffer> picture{gst_buffer_new()};
    const std::shared_ptr<PictureMailbox> mailbox = std::make_shared<PictureMailbox>();
  };

  static GstBuffer* shownIn(const ShownPicture& shown) { return shown.buffer.get(); }

  const Box camera_;
  const Box screen_;
  const Box poor_;
  const Box paused_;
  PictureChoice choice_{kCamera};
};

TEST_F(PictureChoiceTest, BlackOfTheFirstFormatBeforeTheFirstPicture) {
  const ShownPicture shown = choice_.captured();
  EXPECT_EQ(shownIn(shown), nullptr);
  EXPECT_EQ(shown.format, kCamera);
  EXPECT_EQ(shownIn(choice_.standIn()), nullptr);
}

TEST_F(PictureChoiceTest, APredecessorsPictureStaysUntilItsSuccessorHasOne) {
  choice_.setSource({camera_.mailbox, kCamera, PictureOrigin::kCamera});
  EXPECT_EQ(shownIn(choice_.captured()), camera_.picture.get());
  const auto empty = std::make_shared<PictureMailbox>();
  choice_.setSource({empty, kScreen, PictureOrigin::kScreen});
  const ShownPicture before = choice_.captured();
  EXPECT_EQ(shownIn(before), camera_.picture.get());
  EXPECT_EQ(before.format, kCamera) << "format and origin go with the picture";
  EXPECT_EQ(before.origin, PictureOrigin::kCamera);
  empty->put(screen_.picture.get());
  const ShownPicture after = choice_.captured();
  EXPECT_EQ(shownIn(after), screen_.picture.get());
  EXPECT_EQ(after.format, kScreen);
  EXPECT_EQ(after.origin, PictureOrigin::kScreen);
}

TEST_F(PictureChoiceTest, AMutedCameraIsBlackAndAScreenIsNot) {
  choice_.setSource({camera_.mailbox, kCamera, PictureOrigin::kCamera});
  choice_.setCameraBlack(true);
  EXPECT_EQ(shownIn(choice_.captured()), nullptr);
  choice_.setSource({screen_.mailbox, kScreen, PictureOrigin::kScreen});
  EXPECT_EQ(shownIn(choice_.captured()), screen_.picture.get());
}

TEST_F(PictureChoiceTest, AnImageStandsInOnItsOccasionOnly) {
  choice_.setSource({screen_.mailbox, kScreen, PictureOrigin::kScreen});
  choice_.setImage(Occasion::kScreenPaused, {paused_.mailbox, kCamera});
  EXPECT_EQ(shownIn(choice_.standIn()), nullptr);
  choice_.setOccasion(Occasion::kNetworkPoor, true);
  EXPECT_EQ(shownIn(choice_.standIn()), nullptr) << "there is none for that";
  choice_.setOccasion(Occasion::kScreenPaused, true);
  const ShownPicture image = choice_.standIn();
  EXPECT_EQ(shownIn(image), paused_.picture.get());
  EXPECT_EQ(image.format, kCamera);
  EXPECT_EQ(shownIn(choice_.captured()), screen_.picture.get()) << "captured it is all the same";
  choice_.setOccasion(Occasion::kScreenPaused, false);
  EXPECT_EQ(shownIn(choice_.standIn()), nullptr);
}

TEST_F(PictureChoiceTest, APoorNetworkGoesBeforeAPause) {
  choice_.setImage(Occasion::kScreenPaused, {paused_.mailbox, kCamera});
  choice_.setImage(Occasion::kNetworkPoor, {poor_.mailbox, kCamera});
  choice_.setOccasion(Occasion::kScreenPaused, true);
  choice_.setOccasion(Occasion::kNetworkPoor, true);
  EXPECT_EQ(shownIn(choice_.standIn()), poor_.picture.get());
  choice_.setOccasion(Occasion::kNetworkPoor, false);
  EXPECT_EQ(shownIn(choice_.standIn()), paused_.picture.get());
}

TEST_F(PictureChoiceTest, AnImageStaysUntilItIsThereInItsNewSize) {
  choice_.setOccasion(Occasion::kScreenPaused, true);
  const auto empty = std::make_shared<PictureMailbox>();
  choice_.setImage(Occasion::kScreenPaused, {empty, kCamera});
  EXPECT_EQ(shownIn(choice_.standIn()), nullptr) << "not there yet";
  empty->put(paused_.picture.get());
  EXPECT_EQ(shownIn(choice_.standIn()), paused_.picture.get());
  choice_.setImage(Occasion::kScreenPaused, {std::make_shared<PictureMailbox>(), kScreen});
  const ShownPicture image = choice_.standIn();
  EXPECT_EQ(shownIn(image), paused_.picture.get());
  EXPECT_EQ(image.format, kCamera);
}

}  // namespace
}  // namespace NimboEngine::test

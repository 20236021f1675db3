#include "capture/frame_choice.h"

#include <gtest/gtest.h>

namespace NimboEngine::test {
namespace {

constexpr VideoFormat kCamera{320, 240, 30};
constexpr VideoFormat kScreen{640, 360, 15};

class FrameChoiceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { gst_init(nullptr, nullptr); }

  // Mailboxes of one frame each, which identifies them.
  struct Box {
    Box() { mailbox->put(frame.get()); }
    const GstPtr<GstBuffer> frame{gst_buffer_new()};
    const std::shared_ptr<FrameMailbox> mailbox = std::make_shared<FrameMailbox>();
  };

  static GstBuffer* shownIn(const ShownFrame& shown) { return shown.buffer.get(); }

  const Box camera_;
  const Box screen_;
  const Box poor_;
  const Box paused_;
  FrameChoice choice_{kCamera};
};

TEST_F(FrameChoiceTest, BlackOfTheFirstFormatBeforeTheFirstFrame) {
  const ShownFrame shown = choice_.captured();
  EXPECT_EQ(shownIn(shown), nullptr);
  EXPECT_EQ(shown.format, kCamera);
  EXPECT_EQ(shownIn(choice_.placeholder()), nullptr);
}

TEST_F(FrameChoiceTest, APredecessorsFrameStaysUntilItsSuccessorHasOne) {
  choice_.setSource({camera_.mailbox, kCamera, FrameOrigin::kCamera});
  EXPECT_EQ(shownIn(choice_.captured()), camera_.frame.get());
  const auto empty = std::make_shared<FrameMailbox>();
  choice_.setSource({empty, kScreen, FrameOrigin::kScreen});
  const ShownFrame before = choice_.captured();
  EXPECT_EQ(shownIn(before), camera_.frame.get());
  EXPECT_EQ(before.format, kCamera) << "format and origin belong to the frame";
  EXPECT_EQ(before.origin, FrameOrigin::kCamera);
  empty->put(screen_.frame.get());
  const ShownFrame after = choice_.captured();
  EXPECT_EQ(shownIn(after), screen_.frame.get());
  EXPECT_EQ(after.format, kScreen);
  EXPECT_EQ(after.origin, FrameOrigin::kScreen);
}

TEST_F(FrameChoiceTest, AMutedCameraIsBlackAndAScreenIsNot) {
  choice_.setSource({camera_.mailbox, kCamera, FrameOrigin::kCamera});
  choice_.setCameraBlack(true);
  EXPECT_EQ(shownIn(choice_.captured()), nullptr);
  choice_.setSource({screen_.mailbox, kScreen, FrameOrigin::kScreen});
  EXPECT_EQ(shownIn(choice_.captured()), screen_.frame.get());
}

TEST_F(FrameChoiceTest, AnImageIsShownUnderItsConditionOnly) {
  choice_.setSource({screen_.mailbox, kScreen, FrameOrigin::kScreen});
  choice_.setImage(Placeholder::kScreenPaused, {paused_.mailbox, kCamera});
  EXPECT_EQ(shownIn(choice_.placeholder()), nullptr);
  choice_.showPlaceholder(Placeholder::kNetworkPoor, true);
  EXPECT_EQ(shownIn(choice_.placeholder()), nullptr) << "there is none for that";
  choice_.showPlaceholder(Placeholder::kScreenPaused, true);
  const ShownFrame image = choice_.placeholder();
  EXPECT_EQ(shownIn(image), paused_.frame.get());
  EXPECT_EQ(image.format, kCamera);
  EXPECT_EQ(shownIn(choice_.captured()), screen_.frame.get()) << "captured it is all the same";
  choice_.showPlaceholder(Placeholder::kScreenPaused, false);
  EXPECT_EQ(shownIn(choice_.placeholder()), nullptr);
}

TEST_F(FrameChoiceTest, APoorNetworkGoesBeforeAPause) {
  choice_.setImage(Placeholder::kScreenPaused, {paused_.mailbox, kCamera});
  choice_.setImage(Placeholder::kNetworkPoor, {poor_.mailbox, kCamera});
  choice_.showPlaceholder(Placeholder::kScreenPaused, true);
  choice_.showPlaceholder(Placeholder::kNetworkPoor, true);
  EXPECT_EQ(shownIn(choice_.placeholder()), poor_.frame.get());
  choice_.showPlaceholder(Placeholder::kNetworkPoor, false);
  EXPECT_EQ(shownIn(choice_.placeholder()), paused_.frame.get());
}

TEST_F(FrameChoiceTest, AnImageStaysUntilItsNewSizeIsDecoded) {
  choice_.showPlaceholder(Placeholder::kScreenPaused, true);
  const auto empty = std::make_shared<FrameMailbox>();
  choice_.setImage(Placeholder::kScreenPaused, {empty, kCamera});
  EXPECT_EQ(shownIn(choice_.placeholder()), nullptr) << "not there yet";
  empty->put(paused_.frame.get());
  EXPECT_EQ(shownIn(choice_.placeholder()), paused_.frame.get());
  choice_.setImage(Placeholder::kScreenPaused, {std::make_shared<FrameMailbox>(), kScreen});
  const ShownFrame image = choice_.placeholder();
  EXPECT_EQ(shownIn(image), paused_.frame.get());
  EXPECT_EQ(image.format, kCamera);
}

}  // namespace
}  // namespace NimboEngine::test

#include "flv/flv_timeline.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

constexpr std::size_t kVideo = 0;
constexpr std::size_t kAudio = 1;

class FlvTimelineTest : public testing::Test {
 protected:
  int64_t video(uint32_t timestampMs) { return place(kVideo, timestampMs); }
  int64_t audio(uint32_t timestampMs) { return place(kAudio, timestampMs); }

  int epochs_ = 0;

 private:
  int64_t place(std::size_t stream, uint32_t timestampMs) {
    const auto [ms, newEpoch] = timeline_.place(stream, timestampMs);
    epochs_ += newEpoch ? 1 : 0;
    return ms;
  }

  FlvTimeline timeline_;
};

TEST_F(FlvTimelineTest, KeepsTimestamps) {
  EXPECT_EQ(video(3'600'000), 3'600'000);
  EXPECT_EQ(audio(3'600'010), 3'600'010);
  EXPECT_EQ(video(3'600'033), 3'600'033);
  EXPECT_EQ(epochs_, 0);
}

TEST_F(FlvTimelineTest, UndoesTheWrap) {
  EXPECT_EQ(video(0xfffffff0), 0xfffffff0LL);
  EXPECT_EQ(audio(0xfffffff5), 0xfffffff5LL);
  EXPECT_EQ(video(0x10), 0x100000010LL);
  EXPECT_EQ(audio(0xffffffff), 0xffffffffLL) << "the other stream is a little behind";
  EXPECT_EQ(audio(0x15), 0x100000015LL);
  EXPECT_EQ(epochs_, 0);
}

TEST_F(FlvTimelineTest, AcceptsALaggingStream) {
  video(5'000);
  EXPECT_EQ(audio(2'000), 2'000);
  EXPECT_EQ(video(5'033), 5'033);
  EXPECT_EQ(audio(2'021), 2'021);
  EXPECT_EQ(epochs_, 0);
}

TEST_F(FlvTimelineTest, AcceptsAPausingStream) {
  audio(0);
  for (uint32_t ms = 0; ms <= 60'000; ms += 40) video(ms);
  EXPECT_EQ(audio(60'010), 60'010);
  EXPECT_EQ(epochs_, 0);
}

TEST_F(FlvTimelineTest, StartsAnEpochWhenAPublisherRestarts) {
  video(1'000'000);
  audio(1'000'020);
  constexpr int64_t kStart = 1'000'020 + FlvTimeline::kEpochGapMs;
  EXPECT_EQ(video(0), kStart);
  EXPECT_EQ(epochs_, 1);
  // Both streams are at the distance that they have in the new epoch.
  EXPECT_EQ(audio(7), kStart + 7);
  EXPECT_EQ(video(33), kStart + 33);
  EXPECT_EQ(epochs_, 1);
}

TEST_F(FlvTimelineTest, StartsAnEpochAfterAShortPublishingToo) {
  audio(0);
  video(5'000);
  audio(5'000);
  EXPECT_EQ(audio(0), 5'000 + FlvTimeline::kEpochGapMs);
  EXPECT_EQ(video(10), 5'010 + FlvTimeline::kEpochGapMs);
  EXPECT_EQ(epochs_, 1);
}

TEST_F(FlvTimelineTest, StartsAnEpochAtAForwardJump) {
  video(0);
  audio(5);
  EXPECT_EQ(video(10'005), 10'005) << "a gap";
  EXPECT_EQ(video(20'006), 10'005 + FlvTimeline::kEpochGapMs) << "a jump";
  EXPECT_EQ(audio(20'000), 10'005 + FlvTimeline::kEpochGapMs - 6);
  EXPECT_EQ(epochs_, 1);
}

// Some servers send the first frame with the time stamp 0.
TEST_F(FlvTimelineTest, RecoversFromASingleWrongTimestamp) {
  EXPECT_EQ(video(0), 0);
  EXPECT_EQ(video(3'600'000), FlvTimeline::kEpochGapMs);
  EXPECT_EQ(audio(3'600'001), FlvTimeline::kEpochGapMs + 1);
  EXPECT_EQ(video(3'600'033), FlvTimeline::kEpochGapMs + 33);
}

TEST_F(FlvTimelineTest, SeparatesStreamsThatStartFarApart) {
  video(3'600'000);
  EXPECT_EQ(audio(0), 3'600'000 + FlvTimeline::kEpochGapMs);
}

TEST_F(FlvTimelineTest, NeverGoesBackWithinAStream) {
  video(5'000);
  EXPECT_EQ(video(4'990), 5'000);
  EXPECT_EQ(video(5'005), 5'005);
  EXPECT_EQ(epochs_, 0);
}

// When the streams of a new epoch start at different times, the earlier one is clamped.
TEST_F(FlvTimelineTest, NeverGoesBackAtTheStartOfAnEpoch) {
  video(100'000);
  audio(100'000);
  video(500);
  EXPECT_EQ(audio(0), 100'000);
  EXPECT_EQ(audio(450), 100'000 + FlvTimeline::kEpochGapMs - 50);
  EXPECT_EQ(epochs_, 1);
}

TEST_F(FlvTimelineTest, StaysWithinBoundsForRandomTimestamps) {
  uint32_t random = 1;
  int64_t last[2] = {INT64_MIN, INT64_MIN};
  for (int i = 0; i < 100'000; ++i) {
    random = random * 1'664'525 + 1'013'904'223;
    const std::size_t stream = random >> 16 & 1;
    const int64_t ms = stream == kVideo ? video(random ^ random >> 7) : audio(random);
    ASSERT_GE(ms, -FlvTimeline::kMaxDistanceMs);
    ASSERT_GE(ms, last[stream]);
    last[stream] = ms;
  }
  EXPECT_LT(last[kVideo], int64_t{1} << 33);
}

}  // namespace
}  // namespace NimboEngine

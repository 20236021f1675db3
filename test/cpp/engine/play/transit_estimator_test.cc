#include "play/transit_estimator.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr TransitEstimator::Time kEpoch{1h};

class TransitEstimatorTest : public testing::Test {
 protected:
  // A frame every 40 ms of the stream, from `from` on, each ready `delay` late.
  void stream(milliseconds from, milliseconds to, milliseconds delay, Media media = Media::kVideo) {
    for (auto time = from; time < to; time += 40ms) {
      estimator.add(media, kEpoch + time + delay, 7s + time);
    }
  }

  double worst(milliseconds when) {
    return static_cast<double>(estimator.takeWorst(kEpoch + when).count());
  }

  double jitter(Media media = Media::kVideo) {
    return std::chrono::duration<double, std::milli>(estimator.jitter(media).value()).count();
  }

  TransitEstimator estimator;
};

TEST_F(TransitEstimatorTest, AnEvenStreamHasNoDelayAndNoJitter) {
  EXPECT_EQ(worst(0ms), 0) << "nothing has come yet";
  EXPECT_FALSE(estimator.jitter(Media::kVideo));
  stream(0ms, 1s, 30ms);
  EXPECT_LE(worst(1030ms), 2);
  EXPECT_LE(jitter(), 2);
}

TEST_F(TransitEstimatorTest, LateMediaCountOnce) {
  stream(0ms, 1s, 30ms);
  stream(1s, 1200ms, 530ms);
  EXPECT_NEAR(worst(1700ms), 500, 3);
  stream(1200ms, 2s, 30ms);
  EXPECT_LE(worst(2s), 3);
}

TEST_F(TransitEstimatorTest, OverdueDataCountBeforeTheyArrive) {
  stream(0ms, 1s, 0ms);
  EXPECT_NEAR(worst(3s), 2000, 3);
  EXPECT_NEAR(worst(4s), 3000, 3);
}

TEST_F(TransitEstimatorTest, ASlowSlideShowIsNotLate) {
  for (auto time = 0s; time < 20s; time += 2s) {
    estimator.add(Media::kVideo, kEpoch + time, 7s + time);
  }
  EXPECT_LE(worst(19s), 0);
}

TEST_F(TransitEstimatorTest, VideoCountsForTheDelayAndAudioOnlyWithoutIt) {
  for (const bool video : {false, true}) {
    estimator = {};
    for (auto time = 0ms; time < 1s; time += 10ms) {
      if (video) estimator.add(Media::kVideo, kEpoch + time, time);
      estimator.add(Media::kAudio, kEpoch + time + (time == 500ms ? 400ms : 0ms), time);
    }
    EXPECT_EQ(worst(990ms) > 390, !video);
  }
}

TEST_F(TransitEstimatorTest, JitterCoversRepeatedLateness) {
  for (auto time = 0s; time < 10s; time += 1s) {
    stream(time, time + 800ms, 30ms);
    stream(time + 800ms, time + 1s, 150ms);
  }
  EXPECT_NEAR(jitter(), 120, 5);
}

TEST_F(TransitEstimatorTest, ASingleInterruptionIsNotJitter) {
  stream(0ms, 6s, 30ms);
  // A second of frames comes at once.
  for (auto time = 6s + 0ms; time < 7s; time += 40ms) {
    estimator.add(Media::kVideo, kEpoch + 7030ms, 7s + time);
  }
  stream(7s, 10s, 30ms);
  EXPECT_LE(jitter(), 30);
}

TEST_F(TransitEstimatorTest, EachStreamHasItsJitterAboveTheCommonShortestTransit) {
  stream(0ms, 4s, 10ms, Media::kVideo);
  stream(0ms, 4s, 70ms, Media::kAudio);
  EXPECT_LE(jitter(Media::kVideo), 5);
  EXPECT_NEAR(jitter(Media::kAudio), 60, 5);
}

// A server that sends its cache: two seconds of frames within 60 ms.
TEST_F(TransitEstimatorTest, ACacheIsForgottenAfterCatchingUp) {
  int restarts = 0;
  for (auto frame = 0; frame < 50; ++frame) {
    restarts += estimator.add(Media::kVideo, kEpoch + frame * 1ms, frame * 40ms);
  }
  EXPECT_GT(restarts, 20);
  for (auto frame = 50; frame < 100; ++frame) {
    EXPECT_FALSE(estimator.add(Media::kVideo, kEpoch + 50ms + (frame - 49) * 40ms, frame * 40ms));
  }
  EXPECT_LE(jitter(), 50) << "the cached frames, up to two seconds old, do not count";
}

// As an encoder of a variable frame rate sends it: each frame when the next one is known.
TEST_F(TransitEstimatorTest, AFrameAfterAPauseIsNoCache) {
  EXPECT_TRUE(estimator.add(Media::kVideo, kEpoch, 7s));
  EXPECT_FALSE(estimator.add(Media::kVideo, kEpoch + 33ms, 7s + 33ms));
  EXPECT_FALSE(estimator.add(Media::kVideo, kEpoch + 66ms, 7s + 167ms));
  EXPECT_NEAR(jitter(), 100, 3) << "of the frames before";
}

TEST_F(TransitEstimatorTest, FollowsASenderWhoseClockIsFastOrSlow) {
  for (const double rate : {0.998, 1.002}) {
    estimator = {};
    for (auto time = 0ms; time < 60s; time += 40ms) {
      const auto timestamp = std::chrono::duration_cast<std::chrono::nanoseconds>(time * rate);
      EXPECT_EQ(estimator.add(Media::kVideo, kEpoch + time, timestamp), time == 0ms);
    }
    EXPECT_LE(jitter(), rate < 1 ? 60 : 25) << rate;
  }
}

TEST_F(TransitEstimatorTest, ATimestampThatJumpsRestartsTheEstimate) {
  EXPECT_TRUE(estimator.add(Media::kVideo, kEpoch, 100s));
  EXPECT_FALSE(estimator.add(Media::kVideo, kEpoch + 40ms, 100s + 40ms));
  EXPECT_FALSE(estimator.add(Media::kVideo, kEpoch + 80ms, 100s)) << "reordering";
  EXPECT_TRUE(estimator.add(Media::kVideo, kEpoch + 120ms, 0s));
  EXPECT_TRUE(estimator.add(Media::kVideo, kEpoch + 160ms, 1h));
  EXPECT_LE(worst(160ms), 1);
}

}  // namespace
}  // namespace NimboEngine

#include "play/stall_detector.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;

constexpr StallDetector::Time kBeginning{1h};

TEST(StallDetector, NothingArrives) {
  for (const bool answered : {false, true}) {
    StallDetector watch(kBeginning, 5s);
    EXPECT_EQ(watch.check(kBeginning + 9s, {}, answered), std::nullopt);
    EXPECT_EQ(watch.check(kBeginning + 10s, {}, answered),
              answered ? kLumoLiveErrorStreamNotFound : kLumoLiveErrorConnectTimeout);
  }
}

TEST(StallDetector, ReceivedDataMustBecomeFramesOrAudio) {
  StallDetector watch(kBeginning, 5s);
  PlayCounts counts;
  for (auto time = 8s; time < 23s; time += 1s) {
    counts.videoBytes += 1000;
    EXPECT_EQ(watch.check(kBeginning + time, counts, true), std::nullopt) << time.count();
  }
  counts.videoBytes += 1000;
  EXPECT_EQ(watch.check(kBeginning + 23s, counts, true), kLumoLiveErrorUndecodable);
}

TEST(StallDetector, APlayingStreamMustContinue) {
  StallDetector watch(kBeginning, 5s);
  PlayCounts counts{.videoBytes = 1000, .frames = 1};
  EXPECT_EQ(watch.check(kBeginning + 1s, counts, true), std::nullopt);
  counts.audioBytes = 10;  // audio alone is enough
  EXPECT_EQ(watch.check(kBeginning + 5s, counts, true), std::nullopt);
  EXPECT_EQ(watch.check(kBeginning + 9s, counts, true), std::nullopt);
  EXPECT_EQ(watch.check(kBeginning + 10s, counts, true), kLumoLiveErrorConnectionLost);
}

TEST(StallDetector, AFileMayStall) {
  StallDetector watch(kBeginning, std::nullopt);
  const PlayCounts counts{.frames = 1};
  EXPECT_EQ(watch.check(kBeginning, counts, false), std::nullopt);
  EXPECT_EQ(watch.check(kBeginning + 24h, counts, false), std::nullopt);
}

}  // namespace
}  // namespace NimboEngine

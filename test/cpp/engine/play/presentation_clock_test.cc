#include "play/presentation_clock.h"

#include <gtest/gtest.h>

#include <cmath>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using Time = PresentationClock::Time;
using Duration = PresentationClock::Duration;

constexpr Time kStart{1h};
constexpr Duration kOrigin = 500s;  // what the stream's time stamps begin with

class PresentationClockTest : public testing::Test {
 protected:
  // Feeds both streams, evenly and in time except for the delays, from `from` on.
  void play(milliseconds from, milliseconds to, milliseconds videoDelay, milliseconds audioDelay) {
    for (auto time = from; time < to; time += 20ms) {
      if (time % 40ms == 0ms) ready(Media::kVideo, time, videoDelay);
      ready(Media::kAudio, time, audioDelay);
    }
  }

  bool ready(Media media, milliseconds time, milliseconds delay = 0ms, bool waited = false) {
    return clock.ready(media, kStart + time + delay, kOrigin + time, waited);
  }

  // Returns how long after its position in the stream something is presented.
  double presented(milliseconds time, Media media = Media::kVideo) const {
    const auto after = clock.due(media, kOrigin + time) - (kStart + time);
    return std::chrono::duration<double, std::milli>(after).count();
  }

  PresentationClock clock{LatencySettings{}};
};

TEST_F(PresentationClockTest, VideoAloneIsDelayedByTheSmallestBuffer) {
  for (auto time = 0ms; time < 20s; time += 40ms) ready(Media::kVideo, time);
  EXPECT_NEAR(presented(20s), 20, 3) << "latency.minMs";
}

TEST_F(PresentationClockTest, BothStreamsAreDueTogether) {
  play(0ms, 5s, 0ms, 0ms);
  EXPECT_EQ(clock.due(Media::kVideo, kOrigin + 5s), clock.due(Media::kAudio, kOrigin + 5s));
}

TEST_F(PresentationClockTest, AudioIsDueALeadBeforeItsPresentation) {
  play(0ms, 30s, 0ms, 40ms);
  EXPECT_NEAR(presented(30s), 140 + 40 + 15, 5);
}

TEST_F(PresentationClockTest, TheBufferGrowsWithTheJitterAndShrinksAgain) {
  play(0ms, 10s, 0ms, 0ms);
  const double even = presented(10s);
  for (auto time = 10s + 0ms; time < 40s; time += 1s) {
    play(time, time + 700ms, 0ms, 0ms);
    play(time + 700ms, time + 1s, 200ms, 200ms);
  }
  EXPECT_NEAR(presented(40s), 140 + 200 + 15, 15);
  play(40s, 100s, 0ms, 0ms);
  EXPECT_NEAR(presented(100s), even, 10);
}

TEST_F(PresentationClockTest, FollowsSlowlyEnoughForAudioToBeResampled) {
  play(0ms, 10s, 0ms, 150ms);
  double before = presented(10s);
  for (auto time = 10s + 0ms; time < 60s; time += 1s) {
    play(time, time + 1s, 0ms, 0ms);
    const double now = presented(time + 1s);
    EXPECT_LE(std::abs(now - before), 4.5) << "0.4 %, less than audio is resampled by";
    before = now;
  }
}

TEST_F(PresentationClockTest, IsStableOnceTheJitterHasBeenMeasured) {
  play(0ms, 600ms, 0ms, 0ms);
  play(600ms, 1600ms, 0ms, 25ms);
  const double learnt = presented(1600ms);
  play(1600ms, 8s, 0ms, 25ms);
  EXPECT_NEAR(presented(8s), learnt, 1);
}

TEST_F(PresentationClockTest, AudioThatComesInTimeIsNotTornForALargerBuffer) {
  play(0ms, 600ms, 0ms, 0ms);
  double before = presented(600ms);
  for (auto time = 680ms; time < 30s; time += 100ms) {
    for (auto delay = 80ms; delay >= 0ms; delay -= 20ms) ready(Media::kAudio, time - delay, delay);
    EXPECT_LE(presented(time), before + 0.5) << "at " << time.count() << " ms: 0.4 % are resampled";
    before = presented(time);
  }
  EXPECT_NEAR(before, 140 + 80 + 15, 5);
}

TEST_F(PresentationClockTest, AudioThatBeginsHasItsLeadAtOnce) {
  for (auto time = 0ms; time < 5s; time += 40ms) ready(Media::kVideo, time);
  ready(Media::kAudio, 5s);
  EXPECT_GE(presented(5s), 140);
}

TEST_F(PresentationClockTest, AudioThatIsLateIsWaitedForAtOnce) {
  play(0ms, 10s, 0ms, 0ms);
  const double before = presented(10s);
  ready(Media::kAudio, 10s, 200ms);
  EXPECT_GE(presented(10s), 200 + 30) << "it can be played";
  EXPECT_GT(presented(10s), before + 50);
}

TEST_F(PresentationClockTest, LatenessBeyondTheLargestBufferIsAnOutage) {
  play(0ms, 10s, 0ms, 0ms);
  const double before = presented(10s);
  for (auto time = 10s + 0ms; time < 11s; time += 40ms) {
    ready(Media::kVideo, time, 12s - time);  // all at once, two seconds later
  }
  EXPECT_NEAR(presented(11s), before, 25) << "only the last ones come within reach";
  play(12s, 13s, 0ms, 0ms);
  EXPECT_NEAR(presented(13s), before, 25);
}

TEST_F(PresentationClockTest, ASenderThatStalledIsFollowed) {
  play(0ms, 10s, 0ms, 0ms);
  const double before = presented(10s);
  play(10s, 14s, 10s, 10s);
  EXPECT_NEAR(presented(14s), 10'000 + before, 60);
}

// A server's cache of two seconds, then the live stream.
TEST_F(PresentationClockTest, TheLiveEdgeBehindACacheIsReachedImmediately) {
  for (auto frame = 0; frame < 50; ++frame) {
    clock.ready(Media::kVideo, kStart + 2s + frame * 1ms, kOrigin + frame * 40ms, false);
    clock.ready(Media::kAudio, kStart + 2s + frame * 1ms, kOrigin + frame * 40ms, false);
  }
  EXPECT_LE(presented(2s), 340) << "not two seconds";
  play(2s + 40ms, 10s, 0ms, 0ms);
  EXPECT_LE(presented(10s), 200);
}

TEST_F(PresentationClockTest, StaysLevelWithASenderWhoseClockDrifts) {
  for (const double rate : {0.998, 1.002}) {
    PresentationClock drifting{LatencySettings{}};
    double first = 0;
    for (auto time = 0ms; time < 60s; time += 40ms) {
      const auto timestamp = std::chrono::duration_cast<Duration>(time * rate);
      drifting.ready(Media::kVideo, kStart + time, timestamp, false);
      drifting.ready(Media::kAudio, kStart + time, timestamp, false);
      const auto held = drifting.due(Media::kVideo, timestamp) - (kStart + time);
      if (time == 10s) first = std::chrono::duration<double, std::milli>(held).count();
      if (time > 10s) {
        EXPECT_NEAR((std::chrono::duration<double, std::milli>(held).count()), first, 60) << rate;
      }
    }
  }
}

TEST_F(PresentationClockTest, QueueingInThePresenterIsNotNetworkDelay) {
  play(0ms, 10s, 0ms, 0ms);
  const double before = presented(10s);
  for (auto time = 10s + 0ms; time < 20s; time += 40ms) ready(Media::kVideo, time, 300ms, true);
  EXPECT_EQ(presented(20s), before);
}

TEST_F(PresentationClockTest, TimeStampsThatJumpAreFollowed) {
  play(0ms, 5s, 0ms, 0ms);
  EXPECT_TRUE(clock.ready(Media::kVideo, kStart + 5s, 3s, false));
  EXPECT_TRUE(clock.due(Media::kVideo, 3s) >= kStart + 5s);
  EXPECT_TRUE(clock.due(Media::kVideo, 3s) < kStart + 5s + 300ms);
}

TEST_F(PresentationClockTest, DepthIsTheBufferedTime) {
  play(0ms, 5s, 0ms, 0ms);
  EXPECT_NEAR(static_cast<double>(clock.depth().count()), presented(5s), 5);
}

// Half a second of audio in each packet.
TEST_F(PresentationClockTest, AudioInLargePacketsHasAtMostOneGap) {
  int late = 0;
  for (auto packet = 0ms; packet < 10s; packet += 480ms) {
    for (auto time = packet; time < packet + 480ms; time += 40ms) ready(Media::kVideo, time);
    for (auto piece = packet; piece < packet + 480ms; piece += 20ms) {
      const Time now = kStart + packet + 480ms;
      clock.ready(Media::kAudio, now, kOrigin + piece, false);
      late += clock.due(Media::kAudio, kOrigin + piece) < now + PresentationClock::kAudioDeadline;
    }
  }
  EXPECT_EQ(late, 0);
  EXPECT_NEAR(presented(10s), 480 + 140 + 15, 40);
}

struct Bounds {
  milliseconds minimum;
  milliseconds maximum;
  double presented;
};

class LatencyBounds : public testing::TestWithParam<Bounds> {};

TEST_P(LatencyBounds, HoldTheBuffer) {
  const Bounds& bounds = GetParam();
  PresentationClock clock({.minimum = bounds.minimum, .maximum = bounds.maximum});
  for (auto time = 0ms; time < 60s; time += 40ms) {
    const auto delay = time % 200ms == 0ms ? 100ms : 0ms;
    clock.ready(Media::kVideo, kStart + time + delay, time, false);
  }
  const auto after = clock.due(Media::kVideo, 60s) - (kStart + 60s);
  EXPECT_NEAR((std::chrono::duration<double, std::milli>(after).count()), bounds.presented, 15);
}

INSTANTIATE_TEST_SUITE_P(Settings, LatencyBounds,
                         testing::Values(Bounds{20ms, 600ms, 115}, Bounds{300ms, 600ms, 300},
                                         Bounds{0ms, 0ms, 0}, Bounds{0ms, 50ms, 50}));

TEST(LowestLatency, FramesAreDueWhenReadyAndAudioIsContinuous) {
  PresentationClock clock({.lowest = true});
  for (auto time = 0ms; time < 10s; time += 20ms) {
    clock.ready(Media::kVideo, kStart + time, time, false);
    clock.ready(Media::kAudio, kStart + time + 30ms, time, false);
  }
  EXPECT_EQ(clock.due(Media::kVideo, 10s), Time::min());
  const auto audio = clock.due(Media::kAudio, 10s) - (kStart + 10s);
  EXPECT_NEAR((std::chrono::duration<double, std::milli>(audio).count()), 140 + 30 + 15, 10);
}

class TimedClockTest : public PresentationClockTest {
 protected:
  TimedClockTest() { clock.setLive(false); }
};

TEST_F(TimedClockTest, KeepsItsOffsetForEarlyMedia) {
  EXPECT_TRUE(ready(Media::kVideo, 0ms));
  const double first = presented(0ms);
  for (auto time = 40ms; time < 10s; time += 40ms) {
    EXPECT_FALSE(ready(Media::kVideo, time, -10ms));
    EXPECT_FALSE(ready(Media::kAudio, time, -30ms));
  }
  EXPECT_EQ(presented(10s), first);
  EXPECT_EQ(clock.depth(), 0ms) << "nothing is live";
}

TEST_F(TimedClockTest, WaitsForAudioThatIsMissing) {
  ready(Media::kVideo, 0ms);
  ready(Media::kAudio, 0ms);
  const double before = presented(0ms);
  EXPECT_TRUE(ready(Media::kAudio, 1s, 700ms));
  EXPECT_GT(presented(1s), before + 600);
}

TEST_F(TimedClockTest, SlowVideoDecodingDoesNotDelayAudio) {
  ready(Media::kVideo, 0ms);
  const double before = presented(0ms);
  for (auto time = 40ms; time < 5s; time += 40ms) {
    ready(Media::kAudio, time, -50ms);
    // At half its speed.
    EXPECT_FALSE(clock.ready(Media::kVideo, kStart + time, kOrigin + time / 2, false));
  }
  EXPECT_EQ(presented(5s), before);
}

TEST_F(TimedClockTest, VideoWithoutAudioIsWaitedFor) {
  ready(Media::kVideo, 0ms);
  const double before = presented(0ms);
  EXPECT_FALSE(ready(Media::kVideo, 1s, 200ms)) << "a frame that is merely late";
  EXPECT_TRUE(ready(Media::kVideo, 2s, 900ms));
  EXPECT_GT(presented(2s), before + 700);
}

}  // namespace
}  // namespace NimboEngine

#include "publish/link_monitor.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr auto kTimeout = 4000ms;
constexpr auto kStep = 50ms;

class LinkMonitorTest : public testing::Test {
 protected:
  // Samples every 50 ms for `time`: media of `waiting` are queued, and the server acknowledges them
  // if `flows`.
  std::vector<NetworkEvent> pass(std::chrono::milliseconds time, std::chrono::milliseconds waiting,
                                 bool flows = true) {
    std::vector<NetworkEvent> events;
    for (auto passed = 0ms; passed < time; passed += kStep) {
      now_ += kStep;
      if (flows) ++taken_;
      const auto more = watch.update({.waiting = waiting, .empty = false, .taken = taken_});
      events.insert(events.end(), more.begin(), more.end());
    }
    return events;
  }

  using Events = std::vector<NetworkEvent>;

  LinkMonitor watch{kTimeout, [this] { return now_; }};

 private:
  LinkMonitor::Clock::time_point now_{};
  uint64_t taken_ = 0;
};

TEST_F(LinkMonitorTest, AGoodLinkRaisesNoEvent) {
  EXPECT_EQ(pass(60s, 999ms), Events{});
  EXPECT_FALSE(watch.isPoor());
}

TEST_F(LinkMonitorTest, PoorWhenASecondWaitsForHalfASecond) {
  EXPECT_EQ(pass(500ms, 1000ms), Events{});
  EXPECT_EQ(pass(50ms, 1000ms), Events{NetworkEvent::kNetworkPoor});
  EXPECT_TRUE(watch.isPoor());
  EXPECT_EQ(pass(60s, 5000ms), Events{}) << "reported once";
}

TEST_F(LinkMonitorTest, AShortPeakIsNotPoor) {
  for (int peak = 0; peak < 10; ++peak) {
    EXPECT_EQ(pass(450ms, 3000ms), Events{});
    EXPECT_EQ(pass(50ms, 900ms), Events{});
  }
}

TEST_F(LinkMonitorTest, RecoveredWhenLittleWaitsForTwoSeconds) {
  pass(1s, 2000ms);
  EXPECT_EQ(pass(60s, 301ms), Events{}) << "between the limits nothing changes";
  EXPECT_EQ(pass(2s, 300ms), Events{});
  EXPECT_EQ(pass(50ms, 300ms), Events{NetworkEvent::kNetworkRecovery});
  EXPECT_FALSE(watch.isPoor());
  EXPECT_EQ(pass(1s, 2000ms), Events{NetworkEvent::kNetworkPoor}) << "and once more";
}

TEST_F(LinkMonitorTest, AShortLullIsNoRecovery) {
  pass(1s, 2000ms);
  for (int lull = 0; lull < 10; ++lull) {
    EXPECT_EQ(pass(1950ms, 0ms), Events{});
    EXPECT_EQ(pass(50ms, 400ms), Events{});
  }
}

TEST_F(LinkMonitorTest, NoProgressIsATimeoutAndThenDead) {
  pass(1s, 0ms);
  EXPECT_EQ(pass(3950ms, 200ms, false), Events{});
  EXPECT_EQ(pass(50ms, 200ms, false), Events{NetworkEvent::kSendDataTimeout});
  EXPECT_EQ(pass(3950ms, 200ms, false), Events{});
  EXPECT_FALSE(watch.isDead());
  EXPECT_EQ(pass(50ms, 200ms, false), Events{});
  EXPECT_TRUE(watch.isDead());
}

TEST_F(LinkMonitorTest, ProgressEndsATimeout) {
  pass(1s, 0ms);
  pass(4s, 200ms, false);
  EXPECT_EQ(pass(50ms, 200ms, true), Events{});
  EXPECT_EQ(pass(3950ms, 200ms, false), Events{});
  EXPECT_EQ(pass(50ms, 200ms, false), Events{NetworkEvent::kSendDataTimeout}) << "reported again";
}

TEST_F(LinkMonitorTest, NothingToSendIsNotAStall) {
  for (int round = 0; round < 1000; ++round) {
    EXPECT_EQ(watch.update({.waiting = 0ms, .empty = true, .taken = 7}), Events{});
    pass(0ms, 0ms);
  }
}

TEST_F(LinkMonitorTest, ANewConnectionHasItsOwnTimes) {
  pass(7950ms, 200ms, false);
  watch.restart();
  EXPECT_EQ(pass(4s, 200ms, false), Events{});
  EXPECT_FALSE(watch.isDead());
  EXPECT_EQ(pass(50ms, 200ms, false), Events{NetworkEvent::kSendDataTimeout});
}

TEST_F(LinkMonitorTest, PoorOutlastsItsConnection) {
  pass(1s, 2000ms);
  watch.restart();
  EXPECT_TRUE(watch.isPoor());
  EXPECT_EQ(pass(2050ms, 0ms), Events{NetworkEvent::kNetworkRecovery});
}

}  // namespace
}  // namespace NimboEngine

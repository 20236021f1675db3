#include "publish/bitrate_control.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

class BitrateControlTest : public testing::Test {
 protected:
  // Updates every 50 ms for `time` while media of `waiting` are queued; returns each new rate.
  std::vector<int> pass(std::chrono::milliseconds time, std::chrono::milliseconds waiting) {
    std::vector<int> rates;
    for (auto passed = 0ms; passed < time; passed += 50ms) {
      now += 50ms;
      const int before = control->kbps();
      control->update(waiting);
      if (control->kbps() != before) rates.push_back(control->kbps());
    }
    return rates;
  }

  BitrateControl::Clock::time_point now{};
  std::optional<BitrateControl> control{
      std::in_place, BitrateLimits{.minimum = 300, .target = 1000, .initial = 1000},
      [this] { return now; }};
};

using Rates = std::vector<int>;

TEST_F(BitrateControlTest, StaysAtTheTargetOnAGoodNetwork) {
  EXPECT_EQ(pass(60s, 100ms), Rates{});
  EXPECT_EQ(pass(60s, 599ms), Rates{});
  EXPECT_EQ(control->kbps(), 1000);
}

TEST_F(BitrateControlTest, GoesDownOnceASecondToTheMinimum) {
  EXPECT_EQ(pass(50ms, 600ms), Rates{700});
  EXPECT_EQ(pass(950ms, 700ms), Rates{});
  EXPECT_EQ(pass(50ms, 800ms), Rates{490});
  EXPECT_EQ(pass(1s, 900ms), Rates{343});
  EXPECT_EQ(pass(60s, 900ms), Rates{300});
}

TEST_F(BitrateControlTest, WaitsWhileTheQueueShrinks) {
  pass(50ms, 1000ms);
  EXPECT_EQ(pass(10s, 999ms), Rates{});
  EXPECT_EQ(pass(50ms, 1000ms), Rates{490});
}

TEST_F(BitrateControlTest, ANewCongestionCountsSeparately) {
  pass(50ms, 2000ms);
  pass(2s, 300ms);
  EXPECT_EQ(pass(50ms, 600ms), Rates{490});
}

TEST_F(BitrateControlTest, RecoversStepByStep) {
  pass(5s, 2000ms);
  ASSERT_EQ(control->kbps(), 300);
  EXPECT_EQ(pass(3s, 0ms), Rates{});
  EXPECT_EQ(pass(3s, 200ms), Rates{425});
  EXPECT_EQ(pass(3s, 200ms), Rates{550});
  EXPECT_EQ(pass(60s, 0ms), (Rates{675, 800, 925, 1000}));
}

TEST_F(BitrateControlTest, NotClearEnoughToRecover) {
  pass(50ms, 2000ms);
  for (int round = 0; round < 10; ++round) {
    EXPECT_EQ(pass(2900ms, 200ms), Rates{});
    EXPECT_EQ(pass(100ms, 201ms), Rates{});
  }
}

TEST_F(BitrateControlTest, ASendTimeoutHalves) {
  control->onSendTimeout();
  EXPECT_EQ(control->kbps(), 500);
  control->onSendTimeout();
  EXPECT_EQ(control->kbps(), 300);
}

TEST_F(BitrateControlTest, ALiveEditIsTheNewCeiling) {
  control->setLimits(300, 2000);
  EXPECT_EQ(control->kbps(), 2000) << "the network had not lowered it";
  control->setLimits(300, 800);
  EXPECT_EQ(control->kbps(), 800);
  EXPECT_EQ(pass(60s, 0ms), Rates{});
}

TEST_F(BitrateControlTest, ALoweredRateClimbsToTheNewCeiling) {
  pass(50ms, 2000ms);
  ASSERT_EQ(control->kbps(), 700);
  control->setLimits(300, 1600);
  EXPECT_EQ(control->kbps(), 700)
      << "a rate that the network did not sustain is not tried immediately";
  EXPECT_EQ(pass(7s, 0ms), (Rates{900, 1100}));
  control->setLimits(300, 1000);
  EXPECT_EQ(control->kbps(), 1000);
}

TEST_F(BitrateControlTest, ANewMinimumHoldsAtOnce) {
  pass(5s, 2000ms);
  control->setLimits(450, 1000);
  EXPECT_EQ(control->kbps(), 450);
  control->setLimits(5000, 600);
  EXPECT_EQ(control->kbps(), 600) << "a minimum above the target counts as the target";
}

TEST_F(BitrateControlTest, WithoutControlItIsAlwaysTheTarget) {
  control.emplace(
      BitrateLimits{.minimum = 300, .target = 1000, .initial = 500, .controlled = false},
      [this] { return now; });
  EXPECT_EQ(control->kbps(), 1000);
  EXPECT_EQ(pass(60s, 5000ms), Rates{});
  control->onSendTimeout();
  EXPECT_EQ(control->kbps(), 1000);
  control->setLimits(300, 700);
  EXPECT_EQ(control->kbps(), 700);
}

TEST_F(BitrateControlTest, BeginsWithTheInitialRate) {
  control.emplace(BitrateLimits{.minimum = 300, .target = 1000, .initial = 500},
                  [this] { return now; });
  EXPECT_EQ(control->kbps(), 500);
  EXPECT_EQ(pass(4s, 0ms), Rates{625});
}

TEST_F(BitrateControlTest, ANewConnectionRestartsTheCount) {
  pass(50ms, 2000ms);
  pass(2s, 0ms);
  control->onNewConnection();
  EXPECT_EQ(pass(3s, 0ms), Rates{});
  EXPECT_EQ(pass(50ms, 0ms), Rates{825});
}

}  // namespace
}  // namespace NimboEngine

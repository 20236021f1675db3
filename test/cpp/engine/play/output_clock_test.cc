#include "play/output_clock.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

TEST(OutputClockTest, TheFirstReadingsAreAveraged) {
  OutputClock clock;
  EXPECT_EQ(clock.ahead(), 0ms);
  EXPECT_TRUE(clock.add(100ms)) << "the first";
  EXPECT_FALSE(clock.add(110ms));
  EXPECT_FALSE(clock.add(90ms));
  EXPECT_FALSE(clock.add(104ms));
  EXPECT_EQ(clock.ahead(), 101ms);
}

TEST(OutputClockTest, FollowsADriftSmoothly) {
  OutputClock clock;
  for (int i = 0; i < 2000; ++i) {
    const auto before = clock.ahead();
    clock.add(i * 10us + (i % 2) * 8ms);
    if (i <= 100) continue;
    EXPECT_LT(std::chrono::abs(clock.ahead() - before), 200us);
  }
  EXPECT_LT(std::chrono::abs(clock.ahead() - 24ms), 2ms);
}

TEST(OutputClockTest, OneOutlierIsNoJump) {
  OutputClock clock;
  for (int i = 0; i < 100; ++i) clock.add(5ms);
  EXPECT_FALSE(clock.add(-1500ms));
  EXPECT_FALSE(clock.add(-1500ms));
  EXPECT_EQ(clock.ahead(), 5ms);
  clock.add(5ms);
  EXPECT_EQ(clock.ahead(), 5ms);
}

TEST(OutputClockTest, AnOutputThatStalledHasJumped) {
  OutputClock clock;
  for (int i = 0; i < 100; ++i) clock.add(5ms);
  EXPECT_FALSE(clock.add(-1500ms));
  EXPECT_FALSE(clock.add(-1502ms));
  EXPECT_TRUE(clock.add(-1504ms));
  EXPECT_EQ(clock.ahead(), -1504ms);
  clock.add(-1500ms);
  EXPECT_EQ(clock.ahead(), -1502ms) << "the mean restarts";
}

}  // namespace
}  // namespace NimboEngine

#include "capture/tick_schedule.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace NimboEngine {
namespace {

constexpr uint64_t kSecond = 1'000'000'000;
constexpr uint64_t kDay = 86400;

TEST(TickSchedule, EachSecondHasExactlyItsTicks) {
  for (const uint32_t rate : {1U, 15U, 24U, 29U, 30U, 50U, 60U}) {
    const TickSchedule schedule(12345, rate);
    for (uint64_t second = 0; second < 3; ++second) {
      EXPECT_EQ(schedule.time(second * rate), 12345 + second * kSecond) << rate;
    }
    EXPECT_EQ(schedule.time(kDay * rate), 12345 + kDay * kSecond) << "no drift over a day";
  }
}

TEST(TickSchedule, StepsDifferByRoundingOnly) {
  const TickSchedule schedule(0, 30);
  for (uint64_t n = 0; n < 1000; ++n) {
    const uint64_t step = schedule.time(n + 1) - schedule.time(n);
    EXPECT_GE(step, 33'333'333U);
    EXPECT_LE(step, 33'333'334U);
  }
}

TEST(TickSchedule, ATickIsDueFromItsTimeOn) {
  const TickSchedule schedule(700, 29);
  for (uint64_t n = 1; n < 1000; ++n) {
    EXPECT_EQ(schedule.latest(schedule.time(n)), n);
    EXPECT_EQ(schedule.latest(schedule.time(n) - 1), n - 1);
  }
}

TEST(TickSchedule, SkipsOnlyTicksOverdueBeyondTheAllowance) {
  const TickSchedule schedule(0, 10);
  const uint64_t now = schedule.time(7);
  EXPECT_EQ(schedule.resume(7, now, 0), 7U);
  EXPECT_EQ(schedule.resume(6, now, 0), 7U);
  EXPECT_EQ(schedule.resume(6, now, 1), 6U);
  EXPECT_EQ(schedule.resume(2, now, 5), 2U);
  EXPECT_EQ(schedule.resume(1, now, 5), 7U);
}

}  // namespace
}  // namespace NimboEngine

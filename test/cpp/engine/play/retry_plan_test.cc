#include "play/retry_plan.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr RetryPlan::Time kStart{1h};

TEST(RetryPlan, SoonAtFirstThenLessOftenThenNever) {
  RetryPlan plan;
  EXPECT_FALSE(plan.isLost());
  EXPECT_EQ(plan.nextPause(kStart), 500ms);
  EXPECT_TRUE(plan.isLost());
  EXPECT_EQ(plan.nextPause(kStart + 1s), 1s);
  EXPECT_EQ(plan.nextPause(kStart + 2s), 2s);
  EXPECT_EQ(plan.nextPause(kStart + 9s), 2s);
  EXPECT_EQ(plan.nextPause(kStart + 10s), std::nullopt);
}

TEST(RetryPlan, EachLossStartsFromTheBeginning) {
  RetryPlan plan;
  plan.nextPause(kStart);
  plan.nextPause(kStart + 1s);
  plan.recovered();
  EXPECT_FALSE(plan.isLost());
  EXPECT_EQ(plan.nextPause(kStart + 20s), 500ms);
  EXPECT_EQ(plan.nextPause(kStart + 29s), 1s);
}

}  // namespace
}  // namespace NimboEngine

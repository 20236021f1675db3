#include "play/retry_plan.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr RetryPlan::Time kFirstFailure{1h};

TEST(RetryPlan, SoonAtFirstThenLessOftenThenNever) {
  RetryPlan plan;
  EXPECT_FALSE(plan.isLost());
  EXPECT_EQ(plan.nextPause(kFirstFailure), 500ms);
  EXPECT_TRUE(plan.isLost());
  EXPECT_EQ(plan.nextPause(kFirstFailure + 1s), 1s);
  EXPECT_EQ(plan.nextPause(kFirstFailure + 2s), 2s);
  EXPECT_EQ(plan.nextPause(kFirstFailure + 9s), 2s);
  EXPECT_EQ(plan.nextPause(kFirstFailure + 10s), std::nullopt);
}

TEST(RetryPlan, EachLossStartsFromTheBeginning) {
  RetryPlan plan;
  plan.nextPause(kFirstFailure);
  plan.nextPause(kFirstFailure + 1s);
  plan.recovered();
  EXPECT_FALSE(plan.isLost());
  EXPECT_EQ(plan.nextPause(kFirstFailure + 20s), 500ms);
  EXPECT_EQ(plan.nextPause(kFirstFailure + 29s), 1s);
}

}  // namespace
}  // namespace NimboEngine

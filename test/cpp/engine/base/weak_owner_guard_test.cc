#include "base/weak_owner_guard.h"

#include <gtest/gtest.h>

#include <optional>

namespace NimboEngine {
namespace {

TEST(WeakOwnerGuard, BoundFunctionRunsWhileTheOwnerLives) {
  const WeakOwnerGuard lifeline;
  int sum = 0;
  auto add = lifeline.bind([&sum](int value) { sum += value; });
  add(2);
  add(3);
  EXPECT_EQ(sum, 5);
}

TEST(WeakOwnerGuard, BoundFunctionDoesNothingAfterwards) {
  std::optional<WeakOwnerGuard> lifeline(std::in_place);
  int calls = 0;
  auto bound = lifeline->bind([&calls] { ++calls; });
  auto copy = bound;
  lifeline.reset();
  bound();
  copy();
  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace NimboEngine

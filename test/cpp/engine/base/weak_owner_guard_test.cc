#include "base/weak_owner_guard.h"

#include <gtest/gtest.h>

#include <optional>

namespace NimboEngine {
namespace {

TEST(WeakOwnerGuard, BoundFunctionRunsWhileTheOwnerLives) {
  const WeakOwnerGuard guard;
  int sum = 0;
  auto add = guard.bind([&sum](int value) { sum += value; });
  add(2);
  add(3);
  EXPECT_EQ(sum, 5);
}

TEST(WeakOwnerGuard, BoundFunctionDoesNothingAfterwards) {
  std::optional<WeakOwnerGuard> guard(std::in_place);
  int calls = 0;
  auto bound = guard->bind([&calls] { ++calls; });
  auto copy = bound;
  guard.reset();
  bound();
  copy();
  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace NimboEngine

#include "base/lifeline.h"

#include <gtest/gtest.h>

#include <optional>

namespace NimboEngine {
namespace {

TEST(Lifeline, BoundFunctionRunsWhileTheOwnerLives) {
  const Lifeline lifeline;
  int sum = 0;
  auto add = lifeline.bind([&sum](int value) { sum += value; });
  add(2);
  add(3);
  EXPECT_EQ(sum, 5);
}

TEST(Lifeline, BoundFunctionDoesNothingAfterwards) {
  std::optional<Lifeline> lifeline(std::in_place);
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

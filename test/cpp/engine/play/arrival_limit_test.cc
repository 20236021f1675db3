#include "play/arrival_limit.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

TEST(ArrivalLimit, EndsWhereNothingCanBeDecoded) {
  ArrivalLimit limit(100);
  EXPECT_TRUE(limit.add(60));
  EXPECT_TRUE(limit.add(40));
  EXPECT_FALSE(limit.add(1));
}

TEST(ArrivalLimit, RestartsWheneverSomethingCanBeDecoded) {
  ArrivalLimit limit(100);
  for (int i = 0; i < 10; ++i) {
    EXPECT_TRUE(limit.add(90));
    limit.onDecodable();
  }
  EXPECT_EQ(limit.total(), 900u);
}

}  // namespace
}  // namespace NimboEngine

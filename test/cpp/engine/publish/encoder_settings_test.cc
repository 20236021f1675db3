#include "publish/encoder_settings.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

TEST(DefaultVideoBitrate, FollowsSizeAndRate) {
  EXPECT_EQ(defaultVideoKbps({1280, 720, 30}), 2500);
  EXPECT_EQ(defaultVideoKbps({1280, 720, 15}), 1875);
  EXPECT_EQ(defaultVideoKbps({1280, 720, 60}), 3750);
  EXPECT_EQ(defaultVideoKbps({854, 480, 30}), 1200);
  EXPECT_EQ(defaultVideoKbps({855, 480, 30}), 1600) << "between two sizes the larger one counts";
  EXPECT_EQ(defaultVideoKbps({16, 16, 30}), 300);
  EXPECT_EQ(defaultVideoKbps({4096, 4096, 60}), 61440) << "no overflow at the largest size";
}

}  // namespace
}  // namespace NimboEngine

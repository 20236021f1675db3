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

TEST(BitrateLimits, FillInDefaults) {
  EncoderSettings settings;
  settings.video = {1280, 720, 30};
  BitrateLimits limits = bitrateLimits(settings);
  EXPECT_EQ(limits.target, 2500);
  EXPECT_EQ(limits.minimum, 625);
  EXPECT_EQ(limits.initial, 2500);
  EXPECT_TRUE(limits.controlled);
  settings.videoKbps = 1000;
  settings.minVideoKbps = 100;
  settings.initialVideoKbps = 500;
  settings.controlsBitrate = false;
  limits = bitrateLimits(settings);
  EXPECT_EQ(limits.target, 1000);
  EXPECT_EQ(limits.minimum, 100);
  EXPECT_EQ(limits.initial, 500);
  EXPECT_FALSE(limits.controlled);
}

}  // namespace
}  // namespace NimboEngine

#include <gtest/gtest.h>

#include "loaded_plugin.h"

namespace ExamplePluginTests {
namespace {

class MirrorTest : public ::testing::Test {
 protected:
  void SetUp() override { plugin_.enable(true); }

  LoadedPlugin plugin_{"mirror"};
};

TEST_F(MirrorTest, SwapsLeftAndRightInEveryPlaneAndLeavesThePaddingAlone) {
  for (const Shape& shape : shapes()) {
    const Frame original = Frame::noise(shape);
    Frame expected = original;
    for (int plane = 0; plane < 3; ++plane) {
      for (int y = 0; y < original.height(plane); ++y) {
        for (int x = 0; x < original.width(plane); ++x) {
          expected.at(plane, original.width(plane) - 1 - x, y) = original.at(plane, x, y);
        }
      }
    }
    EXPECT_EQ(plugin_.process(original), expected);
  }
}

TEST_F(MirrorTest, TwiceGivesTheOriginal) {
  for (const Shape& shape : shapes()) {
    const Frame original = Frame::noise(shape);
    EXPECT_EQ(plugin_.process(plugin_.process(original)), original);
  }
}

TEST_F(MirrorTest, TakesNoParameters) {
  EXPECT_FALSE(plugin_.set("{}"));
  EXPECT_FALSE(plugin_.set(R"({"brightness": 0.5})"));
}

}  // namespace
}  // namespace ExamplePluginTests

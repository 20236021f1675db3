#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <numbers>
#include <string>
#include <thread>

#include "loaded_plugin.h"

namespace ExamplePluginTests {
namespace {

// Half a step of a byte, and a little for the plug-in's whole numbers.
constexpr double kRounding = 0.505;

struct Adjustment {
  double brightness = 0;
  double contrast = 1;
  double saturation = 1;
  double hue = 0;
};

using Colour = std::array<double, 3>;

// The reference works on red, green and blue between 0 and 1, in which the four parameters are
// defined; BT.709 converts there and back.
Colour toRgb(const Colour& yuv) {
  const double y = (yuv[0] - 16) / 219;
  const double blueness = (yuv[1] - 128) / 224;
  const double redness = (yuv[2] - 128) / 224;
  const double red = y + 1.5748 * redness;
  const double blue = y + 1.8556 * blueness;
  return {red, (y - 0.2126 * red - 0.0722 * blue) / 0.7152, blue};
}

double lumaOf(const Colour& rgb) {
  return 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
}

Colour toYuv(const Colour& rgb) {
  const double y = lumaOf(rgb);
  return {16 + 219 * y, 128 + 224 * (rgb[2] - y) / 1.8556, 128 + 224 * (rgb[0] - y) / 1.5748};
}

Colour turned(const Colour& yuv, double degrees) {
  const double angle = std::atan2(yuv[2] - 128, yuv[1] - 128) + degrees * std::numbers::pi / 180;
  const double length = std::hypot(yuv[1] - 128, yuv[2] - 128);
  return {yuv[0], 128 + length * std::cos(angle), 128 + length * std::sin(angle)};
}

Colour reference(const Colour& yuv, const Adjustment& adjustment) {
  Colour rgb = toRgb(turned(yuv, adjustment.hue));
  for (double& part : rgb) part = (part - 0.5) * adjustment.contrast + 0.5;
  for (double& part : rgb) part += adjustment.brightness;
  const double luma = lumaOf(rgb);
  for (double& part : rgb) part = luma + (part - luma) * adjustment.saturation;
  Colour result = toYuv(rgb);
  for (double& part : result) part = std::clamp(part, 0.0, 255.0);
  return result;
}

std::string json(const Adjustment& adjustment) {
  return "{\"brightness\":" + std::to_string(adjustment.brightness) +
         ",\"contrast\":" + std::to_string(adjustment.contrast) +
         ",\"saturation\":" + std::to_string(adjustment.saturation) +
         ",\"hue\":" + std::to_string(adjustment.hue) + "}";
}

// Returns the largest deviation of the pixels of `actual` from the expected ones, in steps of a
// byte.
double worstError(const Frame& original, const Frame& actual, const Adjustment& adjustment) {
  double worst = 0;
  for (int y = 0; y < original.height(0); ++y) {
    for (int x = 0; x < original.width(0); ++x) {
      const auto yuv = [x, y](const Frame& frame) -> Colour {
        return {static_cast<double>(frame.at(0, x, y)),
                static_cast<double>(frame.at(1, x / 2, y / 2)),
                static_cast<double>(frame.at(2, x / 2, y / 2))};
      };
      const Colour expected = reference(yuv(original), adjustment);
      const Colour seen = yuv(actual);
      for (std::size_t i = 0; i < 3; ++i) worst = std::max(worst, std::abs(seen[i] - expected[i]));
    }
  }
  return worst;
}

// Every Y, and every pair of U and V.
Frame everyColour() {
  Frame frame({512, 512}, 0, 0);
  for (int y = 0; y < 512; ++y) {
    for (int x = 0; x < 512; ++x) {
      frame.at(0, x, y) = static_cast<unsigned char>(x);
      frame.at(1, x / 2, y / 2) = static_cast<unsigned char>(x / 2);
      frame.at(2, x / 2, y / 2) = static_cast<unsigned char>(y / 2);
    }
  }
  return frame;
}

class ColourAdjustTest : public ::testing::Test {
 protected:
  void SetUp() override { plugin_.enable(true); }

  LoadedPlugin plugin_{"colour_adjust"};
};

TEST_F(ColourAdjustTest, WithoutParametersLeavesEveryColourAsItIs) {
  EXPECT_EQ(plugin_.process(everyColour()), everyColour());
}

TEST_F(ColourAdjustTest, AdjustsEveryColourToTheNearestByte) {
  const Frame original = everyColour();
  for (const Adjustment& adjustment : std::initializer_list<Adjustment>{
           {.brightness = 0.25},
           {.brightness = -1},
           {.contrast = 0},
           {.contrast = 2.5},
           {.saturation = 0},
           {.saturation = 0.3},
           {.saturation = 4},
           {.hue = 180},
           {.hue = -37.5},
           {.brightness = -0.1, .contrast = 1.2, .saturation = 1.4, .hue = 60},
       }) {
    ASSERT_TRUE(plugin_.set(json(adjustment)));
    EXPECT_LT(worstError(original, plugin_.process(original), adjustment), kRounding)
        << json(adjustment);
  }
}

TEST_F(ColourAdjustTest, ReachesThePixelsOfEveryShapeAndLeavesThePaddingAlone) {
  const Adjustment adjustment{.brightness = 0.1, .saturation = 2};
  ASSERT_TRUE(plugin_.set(json(adjustment)));
  for (const Shape& shape : shapes()) {
    const Frame original = Frame::noise(shape);
    const Frame actual = plugin_.process(original);
    EXPECT_LT(worstError(original, actual, adjustment), kRounding) << original;
    Frame restored = actual;
    for (int plane = 0; plane < 3; ++plane) {
      for (int y = 0; y < original.height(plane); ++y) {
        for (int x = 0; x < original.width(plane); ++x) {
          restored.at(plane, x, y) = original.at(plane, x, y);
        }
      }
    }
    EXPECT_EQ(restored, original) << "the padding has changed";
  }
}

TEST_F(ColourAdjustTest, ShiftsRedTowardsYellowAndGreen) {
  Frame red({2, 2}, 81, 90);
  red.at(2, 0, 0) = 240;
  ASSERT_TRUE(plugin_.set(R"({"hue": 120})"));
  const Frame turnedRed = plugin_.process(red);
  const Colour rgb =
      toRgb({static_cast<double>(turnedRed.at(0, 0, 0)), static_cast<double>(turnedRed.at(1, 0, 0)),
             static_cast<double>(turnedRed.at(2, 0, 0))});
  EXPECT_GT(rgb[1], rgb[0] + 0.3);
  EXPECT_GT(rgb[1], rgb[2] + 0.3);
}

TEST_F(ColourAdjustTest, AKeyThatIsLeftOutKeepsItsValue) {
  const Frame original = Frame::noise({16, 8});
  ASSERT_TRUE(plugin_.set(R"({"brightness": 0.25})"));
  ASSERT_TRUE(plugin_.set(R"({"saturation": 0})"));
  ASSERT_TRUE(plugin_.set("{}"));
  const Adjustment both{.brightness = 0.25, .saturation = 0};
  EXPECT_LT(worstError(original, plugin_.process(original), both), kRounding);
}

TEST_F(ColourAdjustTest, TakesTheEndsOfEachRange) {
  for (const char* text : {R"({"brightness": -1})", R"({"brightness": 1})", R"({"contrast": 0})",
                           R"({"contrast": 4})", R"({"saturation": 0})", R"({"saturation": 4})",
                           R"({"hue": -180})", R"({"hue": 180})", R"({"hue": 1e2})"}) {
    EXPECT_TRUE(plugin_.set(text)) << text;
  }
}

TEST_F(ColourAdjustTest, ATextThatIsRefusedChangesNothing) {
  const Frame original = Frame::noise({16, 8});
  ASSERT_TRUE(plugin_.set(R"({"brightness": 0.25, "hue": 10})"));
  const Frame before = plugin_.process(original);
  for (const char* text : {R"({"brightness": 1.001})",
                           R"({"brightness": -1.001})",
                           R"({"contrast": -0.1})",
                           R"({"contrast": 4.1})",
                           R"({"saturation": -0.1})",
                           R"({"saturation": 4.1})",
                           R"({"hue": 181})",
                           R"({"hue": -181})",
                           R"({"hue": 1e999})",
                           R"({"hue": NaN})",
                           R"({"brightness": "0.5"})",
                           R"({"brightness": null})",
                           R"({"brightness": true})",
                           R"({"brightness": [0.5]})",
                           R"({"Brightness": 0.5})",
                           R"({"brightness ": 0.5})",
                           R"({"brightness": 0.5, "unknown": 1})",
                           R"({"brightness": 0.5, "zoom": 1, "hue": 0})",
                           R"({"brightness": 0.5, "saturation": 5})",
                           R"({"brightness": 0.5,})",
                           R"({"brightness": 0.5} more)",
                           R"([{"brightness": 0.5}])"}) {
    EXPECT_FALSE(plugin_.set(text)) << text;
    ASSERT_EQ(plugin_.process(original), before) << text;
  }
}

TEST_F(ColourAdjustTest, AFrameHasOneAdjustmentWholly) {
  const Frame original = Frame::noise({64, 48});
  const std::string first = R"({"brightness": 0.2, "saturation": 0})";
  const std::string second = R"({"brightness": -0.2, "saturation": 2})";
  ASSERT_TRUE(plugin_.set(second));
  const Frame adjustedSecond = plugin_.process(original);
  ASSERT_TRUE(plugin_.set(first));
  const Frame adjustedFirst = plugin_.process(original);

  std::array<std::atomic<int>, 4> seen{};  // untouched, first, second, anything else
  std::atomic<bool> over = false;
  std::thread capture([&] {
    while (!over) {
      const Frame frame = plugin_.process(original);
      if (frame == original)
        ++seen[0];
      else if (frame == adjustedFirst)
        ++seen[1];
      else if (frame == adjustedSecond)
        ++seen[2];
      else
        ++seen[3];
    }
  });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  const auto enough = [&seen] { return seen[0] > 20 && seen[1] > 20 && seen[2] > 20; };
  for (int i = 0; !enough() && std::chrono::steady_clock::now() < deadline; ++i) {
    plugin_.enable(i % 3 != 0);
    plugin_.set(i % 2 == 0 ? first : second);
    plugin_.set(R"({"brightness": 0.9, "unknown": 1})");
  }
  over = true;
  capture.join();
  EXPECT_TRUE(enough()) << seen[0] << " " << seen[1] << " " << seen[2];
  EXPECT_EQ(seen[3], 0);
}

}  // namespace
}  // namespace ExamplePluginTests

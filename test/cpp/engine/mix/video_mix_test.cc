#include "mix/video_mix.h"

#include <gtest/gtest.h>

#include "gst/runtime.h"
#include "support/painted_frame.h"

namespace NimboEngine {
namespace {

using test::Colour;
using test::i420;
using test::kBlack;
using test::kGreen;
using test::kRed;
using test::paint;
using test::paintHalves;

using Frames = std::vector<std::optional<RemoteStream::Frame>>;

constexpr Size kCanvas{320, 180};

class VideoMixTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  void place(const Rect& rect, Size size, const Colour& left, const Colour& right) {
    layout.places.push_back({{}, rect});
    frames.emplace_back(RemoteStream::Frame{paintHalves(size, left, right), i420(size)});
  }
  void place(const Rect& rect, const Colour& colour) { place(rect, {64, 36}, colour, colour); }

  void draw() {
    mix.setFormat({kCanvas.width, kCanvas.height, 30});
    mix.setLayout(layout);
    canvas = mix.draw(frames);
    ASSERT_NE(canvas, nullptr);
  }

  // Checks that the pixel has the colour, up to rounding.
  void expect(int x, int y, const Colour& colour) {
    const Colour seen = test::pixelAt(canvas.get(), mix.info(), x, y);
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(seen[i], colour[i], 2) << "component " << i << " at " << x << "," << y;
    }
  }

  VideoMix mix;
  MixLayout layout;
  Frames frames;
  GstPtr<GstBuffer> canvas;
};

TEST_F(VideoMixTest, TheBackgroundHasTheSameColourAtEverySize) {
  const struct {
    uint32_t rgb;
    int height;
    Colour yuv;
  } cases[] = {{0x000000, 180, {16, 128, 128}}, {0xffffff, 180, {235, 128, 128}},
               {0xff0000, 180, {63, 102, 240}}, {0x00ff00, 180, {173, 42, 26}},
               {0x0000ff, 180, {32, 240, 118}}, {0xff0000, 720, {63, 102, 240}},
               {0x00ff00, 720, {173, 42, 26}},  {0x0000ff, 720, {32, 240, 118}}};
  for (const auto& each : cases) {
    VideoMix frame;
    frame.setFormat({320, each.height, 30});
    frame.setLayout({.background = each.rgb, .places = {}});
    const auto drawn = frame.draw({});
    for (const int y : {0, each.height - 1}) {
      EXPECT_EQ(test::pixelAt(drawn.get(), frame.info(), 319, y), each.yuv) << each.rgb;
    }
  }
}

TEST_F(VideoMixTest, AFrameFillsItsPlaceAndNothingElse) {
  place({100, 60, 128, 72}, kRed);
  draw();
  for (const auto& [x, y] : {std::pair(100, 60), {227, 60}, {100, 131}, {227, 131}, {160, 90}}) {
    expect(x, y, kRed);
  }
  for (const auto& [x, y] : {std::pair(99, 90), {228, 90}, {160, 59}, {160, 132}, {0, 0}}) {
    expect(x, y, kBlack);
  }
}

TEST_F(VideoMixTest, TheLastOneLiesOnTop) {
  place({0, 0, 200, 100}, kRed);
  place({100, 50, 200, 100}, kGreen);
  draw();
  expect(50, 25, kRed);
  expect(150, 75, kGreen);
  expect(250, 125, kGreen);
}

TEST_F(VideoMixTest, WithoutAFrameTheLayerBelowShows) {
  layout.background = 0x00ff00;
  place({0, 0, 200, 180}, kRed);
  place({100, 0, 220, 180}, kBlack);
  frames[1].reset();
  draw();
  expect(150, 90, kRed);
  expect(250, 90, kGreen);
}

TEST_F(VideoMixTest, FitShowsEverythingBetweenBars) {
  layout.mode = ViewMode::kFit;
  place({0, 0, 180, 180}, {180, 90}, kRed, kGreen);
  draw();
  expect(10, 40, kBlack);
  expect(10, 50, kRed);
  expect(170, 130, kGreen);
  expect(170, 140, kBlack);
}

TEST_F(VideoMixTest, CropFillsAndCutsTheSides) {
  // The place is a square: of a frame of 4 to 1 the middle quarter is left.
  layout.mode = ViewMode::kCrop;
  place({0, 0, 80, 80}, {320, 80}, kRed, kGreen);
  draw();
  expect(2, 2, kRed);
  expect(30, 78, kRed);
  expect(50, 2, kGreen);
  expect(78, 78, kGreen);
}

TEST_F(VideoMixTest, StretchFillsAndCutsNothing) {
  layout.mode = ViewMode::kStretch;
  place({0, 0, 40, 180}, {320, 80}, kRed, kGreen);
  draw();
  expect(15, 0, kRed);
  expect(15, 179, kRed);
  expect(25, 0, kGreen);
}

TEST_F(VideoMixTest, PartsOutsideAreClipped) {
  place({-80, -45, 160, 90}, {320, 180}, kRed, kGreen);
  place({240, 135, 160, 90}, {320, 180}, kRed, kGreen);
  place({320, 0, 160, 90}, kRed);
  place({-160, 0, 160, 90}, kRed);
  draw();
  // The right half of the first is visible, and the left one of the second.
  expect(0, 0, kGreen);
  expect(79, 44, kGreen);
  expect(80, 45, kBlack);
  expect(240, 135, kRed);
  expect(319, 179, kRed);
  expect(319, 10, kBlack);
}

TEST_F(VideoMixTest, ColoursMatchTheSource) {
  // The same red in the colorimetry of a small and of a large frame.
  mix.setFormat({1280, 720, 30});
  layout.places = {{{}, {101, 51, 65, 37}}, {{}, {1200, 700, 640, 360}}, {{}, {-320, 300, 640, 1}}};
  mix.setLayout(layout);
  while (frames.size() < layout.places.size()) {
    frames.emplace_back(RemoteStream::Frame{paint({64, 36}, kRed), i420({64, 36})});
  }
  canvas = mix.draw(frames);
  const Colour red{63, 102, 240};
  for (const auto& [x, y] : {std::pair(100, 50), {165, 87}, {1200, 700}, {1279, 719}, {319, 300}}) {
    expect(x, y, red);
  }
  for (const auto& [x, y] : {std::pair(0, 60),
                             {98, 60},
                             {168, 60},
                             {1279, 60},
                             {120, 48},
                             {120, 90},
                             {1198, 710},
                             {0, 710},
                             {1250, 698},
                             {322, 300},
                             {1279, 300}}) {
    expect(x, y, kBlack);
  }
}

TEST_F(VideoMixTest, FollowsFramesAndCanvasThatChangeTheirSize) {
  place({0, 0, 320, 180}, kRed);
  draw();
  frames[0] = RemoteStream::Frame{paint({120, 90}, kGreen), i420({120, 90})};
  canvas = mix.draw(frames);
  expect(300, 170, kGreen);
  mix.setFormat({161, 91, 30});
  canvas = mix.draw(frames);
  EXPECT_EQ(mix.info().width, 161);
  expect(160, 90, kGreen);
}

TEST_F(VideoMixTest, InputFramesStayUnchanged) {
  place({10, 10, 50, 50}, kRed);
  draw();
  EXPECT_EQ(test::pixelAt(frames[0]->buffer.get(), frames[0]->info, 5, 5), kRed);
  EXPECT_EQ(GST_MINI_OBJECT_REFCOUNT_VALUE(frames[0]->buffer.get()), 1);
}

}  // namespace
}  // namespace NimboEngine

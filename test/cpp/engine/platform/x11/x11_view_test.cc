// The view in a window on the test's own display server.

#include "platform/x11/x11_view.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <optional>

#include "gst/runtime.h"
#include "media/frame_pool.h"
#include "platform/x11/frame_painter.h"
#include "platform/x11/xcb_canvas.h"
#include "support/event_log.h"
#include "support/process_usage.h"
#include "support/x_server.h"

namespace NimboEngine::test {
namespace {

using Colour = std::array<int, 3>;
constexpr Colour kBlack{0, 0, 0};
constexpr Colour kRed{255, 0, 0};
constexpr Colour kBlue{0, 0, 255};

// A frame of 16:9, red on the left and blue on the right.
GstPtr<GstBuffer> redAndBlue(FramePool& pool) {
  GstPtr<GstBuffer> buffer = pool.acquire();
  GstVideoFrame frame;
  EXPECT_TRUE(gst_video_frame_map(&frame, &pool.info(), buffer.get(), GST_MAP_WRITE));
  constexpr uint8_t kYuv[2][3] = {{63, 102, 240}, {32, 240, 118}};
  for (int plane = 0; plane < 3; ++plane) {
    const int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane);
    for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane); ++y) {
      auto* row = static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane)) +
                  static_cast<ptrdiff_t>(y) * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
      for (int x = 0; x < width; ++x) row[x] = kYuv[x < width / 2 ? 0 : 1][plane];
    }
  }
  gst_video_frame_unmap(&frame);
  return buffer;
}

bool isNear(const Colour& seen, const Colour& wanted) {
  for (size_t i = 0; i < 3; ++i) {
    if (std::abs(seen[i] - wanted[i]) > 8) return false;
  }
  return true;
}

class X11ViewTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  ViewEvents events() {
    return {[this] { events_.add("drawn"); },
            [this](const std::string& message) {
              EXPECT_FALSE(message.empty());
              events_.add("lost");
            }};
  }

  // Shows frames until the window has that colour at that place, with a guard against hanging.
  bool showUntil(View& view, const XWindow& window, double x, double y, const Colour& wanted) {
    for (int i = 0; i < 1000; ++i) {
      view.onVideoFrame(frame_.get(), pool_.info(), 0);
      if (isNear(window.at(x, y), wanted)) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }

  bool showUntilLost(View& view) {
    for (int i = 0; i < 1000 && events_.count("lost") == 0; ++i) {
      view.onVideoFrame(frame_.get(), pool_.info(), 0);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return events_.count("lost") == 1;
  }

  void expectFit(View& view, const XWindow& window) {
    EXPECT_TRUE(showUntil(view, window, 0.25, 0.5, kRed));
    EXPECT_TRUE(isNear(window.at(0.75, 0.5), kBlue));
    EXPECT_TRUE(isNear(window.at(0.25, 0.02), kBlack));
    EXPECT_TRUE(isNear(window.at(0.75, 0.98), kBlack));
  }

  EventLog events_;
  FramePool pool_{{320, 180, 30}};
  const GstPtr<GstBuffer> frame_ = redAndBlue(pool_);
};

TEST_F(X11ViewTest, DrawsUprightWithBorders) {
  const XServer server;
  const XWindow window(Size{400, 400});
  X11View view(window.id(), events());
  expectFit(view, window);
  EXPECT_TRUE(events_.waitFor("drawn"));
  EXPECT_EQ(events_.all(), std::vector<std::string>{"drawn"}) << "once, however many frames";
}

TEST_F(X11ViewTest, IsTheViewOfAWindowByItsHandle) {
  const XServer server;
  const XWindow window(Size{400, 400});
  const uint32_t handle = window.id();
  const std::optional<NativeWindow> native = readNativeWindow(&handle);
  ASSERT_TRUE(native);
  const std::unique_ptr<View> view = openView(*native, events());
  expectFit(*view, window);
  EXPECT_FALSE(readNativeWindow(nullptr));
}

TEST_F(X11ViewTest, DrawsWithoutSharedMemory) {
  const XServer server({"-extension", "MIT-SHM"});
  const XWindow window(Size{400, 400});
  XcbCanvas canvas(window.id());
  ASSERT_TRUE(canvas.refresh());
  EXPECT_FALSE(canvas.isShared());
  X11View view(window.id(), events());
  expectFit(view, window);
}

TEST_F(X11ViewTest, UsesSharedMemoryWhereItCan) {
  const XServer server;
  const XWindow window(Size{400, 400});
  XcbCanvas canvas(window.id());
  ASSERT_TRUE(canvas.refresh());
  EXPECT_TRUE(canvas.isShared());
  EXPECT_EQ(canvas.size(), (Size{400, 400}));
}

TEST_F(X11ViewTest, CropAndStretchFillTheWindow) {
  const XServer server;
  for (const ViewMode mode : {ViewMode::kCrop, ViewMode::kStretch}) {
    const XWindow window(Size{400, 400});
    X11View view(window.id(), events(), {.mode = mode});
    EXPECT_TRUE(showUntil(view, window, 0.02, 0.02, kRed));
    EXPECT_TRUE(isNear(window.at(0.98, 0.98), kBlue));
  }
}

TEST_F(X11ViewTest, FollowsTheWindowsSize) {
  const XServer server;
  XWindow window(Size{400, 400});
  X11View view(window.id(), events());
  expectFit(view, window);
  for (const Size size : {Size{160, 90}, Size{700, 500}, Size{300, 400}}) {
    window.resize({1, 1});
    view.onVideoFrame(frame_.get(), pool_.info(), 0);
    window.resize(size);
    EXPECT_TRUE(showUntil(view, window, 0.25, 0.5, kRed));
    EXPECT_TRUE(showUntil(view, window, 0.75, 0.5, kBlue));
  }
  EXPECT_EQ(events_.count("lost"), 0);
}

TEST_F(X11ViewTest, SurvivesTheWindowsDestruction) {
  const XServer server;
  XWindow window(Size{400, 400});
  X11View view(window.id(), events());
  ASSERT_TRUE(showUntil(view, window, 0.25, 0.5, kRed));
  window.destroy();
  EXPECT_TRUE(showUntilLost(view));
  for (int i = 0; i < 5; ++i) view.onVideoFrame(frame_.get(), pool_.info(), 0);
  EXPECT_EQ(events_.count("lost"), 1);
}

TEST_F(X11ViewTest, SurvivesTheServersEnd) {
  XServer server;
  const XWindow window(Size{400, 400});
  X11View view(window.id(), events());
  ASSERT_TRUE(showUntil(view, window, 0.25, 0.5, kRed));
  server.kill();
  EXPECT_TRUE(showUntilLost(view));
}

TEST_F(X11ViewTest, IsLostImmediatelyWithoutServerOrWindow) {
  {
    X11View view(1, events());  // no $DISPLAY
    EXPECT_TRUE(showUntilLost(view));
  }
  const XServer server;
  X11View view(0x7fffff, events());
  view.onVideoFrame(frame_.get(), pool_.info(), 0);
  EXPECT_TRUE(events_.waitFor("lost", 2));
}

TEST_F(X11ViewTest, AFrozenServerDoesNotBlockDestruction) {
  const XServer server;
  const XWindow window(Size{400, 400});
  {
    X11View view(window.id(), events());
    ASSERT_TRUE(showUntil(view, window, 0.25, 0.5, kRed));
    server.signal(SIGSTOP);
    view.onVideoFrame(frame_.get(), pool_.info(), 0);
  }
  server.signal(SIGCONT);
  EXPECT_EQ(events_.count("lost"), 0);
}

TEST_F(X11ViewTest, AViewWithoutFramesEnds) {
  const XServer server;
  const XWindow window(Size{400, 400});
  const X11View view(window.id(), events());
}

TEST_F(X11ViewTest, FiftyViewsLeakNothing) {
  const XServer server;
  const XWindow window(Size{400, 400});
  const auto cycle = [&] {
    X11View view(window.id(), events());
    ASSERT_TRUE(showUntil(view, window, 0.25, 0.5, kRed));
  };
  cycle();
  const ProcessUsage before = processUsage();
  for (int i = 0; i < 50; ++i) cycle();
  const ProcessUsage after = processUsage();
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.descriptors, before.descriptors);
}

TEST(FramePainter, KeepsToItsPixelsAtOddSizes) {
  ASSERT_TRUE(startGstreamer());
  FramePool pool({33, 19, 30});
  const GstPtr<GstBuffer> frame = redAndBlue(pool);
  FramePainter painter({.mode = ViewMode::kFit});
  for (const Size size : {Size{1, 1}, Size{7, 3}, Size{31, 77}, Size{101, 11}}) {
    const size_t bytes = 4UL * static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    std::vector<uint8_t> pixels(bytes + 4, 0x5a);
    EXPECT_TRUE(painter.paint(frame.get(), pool.info(), pixels.data(), size));
    for (size_t i = bytes; i < pixels.size(); ++i) EXPECT_EQ(pixels[i], 0x5a);
    EXPECT_EQ(pixels[3], 0xff) << "opaque, for windows with an alpha channel";
  }
}

}  // namespace
}  // namespace NimboEngine::test

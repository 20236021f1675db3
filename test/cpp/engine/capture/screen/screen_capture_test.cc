// Capture of monitors and windows, on the test's own display server with windows of known colours.

#include "capture/screen/screen_capture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "gst/runtime.h"
#include "media/frame_pool.h"
#include "platform/screen/screen.h"
#include "platform/x11/screen_grabber.h"
#include "support/event_log.h"
#include "support/process_usage.h"
#include "support/x_server.h"

namespace NimboEngine::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr VideoFormat kCaptured{320, 240, 30};

// Colours in X, and in ITU-R BT.709.
struct Colour {
  uint32_t rgb;
  std::array<int, 3> yuv;
};
constexpr Colour kBlack{0x000000, {16, 128, 128}};
constexpr Colour kRed{0xff0000, {63, 102, 240}};
constexpr Colour kGreen{0x00ff00, {173, 42, 26}};
constexpr Colour kBlue{0x0000ff, {32, 240, 118}};

class ScreenCaptureTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  void capture(const XWindow& window, int fps = 30) { capture(ScreenId{window.id()}, fps); }

  void capture(ScreenId id, int fps = 30) {
    frames_ = std::make_shared<FrameMailbox>();
    capture_ = std::make_unique<ScreenCapture>(
        id, VideoFormat{kCaptured.width, kCaptured.height, fps}, frames_,
        [this](ScreenError error, const std::string& message) {
          EXPECT_FALSE(message.empty());
          errors_.add(error == ScreenError::kHidden ? "hidden" : "lost");
        });
  }

  // Returns whether the newest frame has that colour at a place given as fractions of its size.
  bool shows(double x, double y, const Colour& colour) const {
    const GstPtr<GstBuffer> buffer = frames_->latest();
    const GstVideoInfo info = frameInfo(kCaptured);
    GstVideoFrame frame;
    if (!buffer || !gst_video_frame_map(&frame, &info, buffer.get(), GST_MAP_READ)) return false;
    bool same = true;
    for (int plane = 0; plane < 3; ++plane) {
      const auto column = static_cast<ptrdiff_t>(x * GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane));
      const auto row = static_cast<ptrdiff_t>(y * GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane));
      const auto* data = static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
      const int seen = data[row * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane) + column];
      same = same && std::abs(seen - colour.yuv[static_cast<size_t>(plane)]) <= 3;
    }
    gst_video_frame_unmap(&frame);
    return same;
  }

  template <class Condition>
  static bool eventually(Condition&& condition) {
    for (const auto end = Clock::now() + 30s; Clock::now() < end;) {
      if (condition()) return true;
      std::this_thread::sleep_for(5ms);
    }
    return false;
  }

  bool comesToShow(double x, double y, const Colour& colour) const {
    return eventually([&] { return shows(x, y, colour); });
  }

  // Waits for `count` more frames of a window that changes its colour all the time.
  bool goesOn(XWindow& window, uint64_t count) const {
    const uint64_t before = frames_->count();
    uint32_t colour = 0;
    return eventually([&] {
      window.setColour(++colour);
      return frames_->count() >= before + count;
    });
  }

  EventLog errors_;
  std::shared_ptr<FrameMailbox> frames_;
  std::unique_ptr<ScreenCapture> capture_;
};

TEST_F(ScreenCaptureTest, AMonitorShowsEachWindowInItsPlace) {
  const XServer server;
  const XWindow left({.place = {0, 0, 200, 150}, .colour = kRed.rgb});
  const XWindow right({.place = {600, 450, 200, 150}, .colour = kBlue.rgb});
  capture(listScreenSources().at(0).id);
  ASSERT_TRUE(comesToShow(0.24, 0.24, kRed)) << "the last of it, to the right and below";
  EXPECT_TRUE(shows(0.26, 0.24, kBlack));
  EXPECT_TRUE(shows(0.24, 0.26, kBlack));
  EXPECT_TRUE(shows(0.76, 0.76, kBlue));
  EXPECT_TRUE(shows(0.74, 0.76, kBlack));
  const XWindow above({.place = {600, 450, 200, 150}, .colour = kGreen.rgb});
  EXPECT_TRUE(comesToShow(0.76, 0.76, kGreen)) << "what covers is shown";
}

TEST_F(ScreenCaptureTest, TheWholeDesktopWithoutMonitors) {
  const XServer server({"-extension", "RANDR"});
  const XWindow window({.place = {600, 450, 200, 150}, .colour = kBlue.rgb});
  capture(listScreenSources().at(0).id);
  EXPECT_TRUE(comesToShow(0.9, 0.9, kBlue));
  EXPECT_TRUE(shows(0.5, 0.5, kBlack));
}

TEST_F(ScreenCaptureTest, AWindowIsShownWholeWithBorders) {
  for (const std::vector<std::string>& without :
       {std::vector<std::string>{}, {"-extension", "MIT-SHM"}, {"-extension", "Composite"}}) {
    const XServer server(without);
    const XWindow window({.place = {20, 30, 400, 200}, .colour = kRed.rgb});
    const XWindow half({.place = {200, 0, 200, 200}, .colour = kBlue.rgb, .parent = window.id()});
    capture(window);
    ASSERT_TRUE(comesToShow(0.48, 0.5, kRed));
    EXPECT_TRUE(shows(0.02, 0.18, kRed)) << "160 of 240 rows";
    EXPECT_TRUE(shows(0.52, 0.5, kBlue));
    EXPECT_TRUE(shows(0.98, 0.82, kBlue));
    EXPECT_TRUE(shows(0.5, 0.15, kBlack));
    EXPECT_TRUE(shows(0.5, 0.85, kBlack));
    capture_.reset();
  }
}

TEST_F(ScreenCaptureTest, SharedMemoryIsUsedWhereItCanBe) {
  for (const bool possible : {true, false}) {
    const XServer server(possible ? std::vector<std::string>{}
                                  : std::vector<std::string>{"-extension", "MIT-SHM"});
    const XWindow window({.colour = kRed.rgb});
    ScreenGrabber grabber(ScreenId{window.id()});
    ASSERT_EQ(grabber.grab(), ScreenGrabber::Outcome::kFrame);
    EXPECT_EQ(grabber.image().isShared(), possible);
    EXPECT_EQ(grabber.image().size(), (Size{100, 100}));
  }
}

TEST_F(ScreenCaptureTest, AnUnchangedScreenYieldsNoNewFrame) {
  using Outcome = ScreenGrabber::Outcome;
  for (const std::vector<std::string>& without :
       {std::vector<std::string>{}, {"-extension", "MIT-SHM"}}) {
    const XServer server(without);
    XWindow window({.colour = kRed.rgb});
    ScreenGrabber grabber(ScreenId{window.id()});
    EXPECT_EQ(grabber.grab(), Outcome::kFrame);
    EXPECT_EQ(grabber.grab(), Outcome::kSame);
    EXPECT_EQ(grabber.grab(), Outcome::kSame);
    window.setColour(kBlue.rgb);
    EXPECT_EQ(grabber.grab(), Outcome::kFrame);
    EXPECT_EQ(grabber.grab(), Outcome::kSame);
    window.resize({50, 50});
    EXPECT_EQ(grabber.grab(), Outcome::kFrame);
    window.showPointer({0xffff, 0xffff, 0});
    EXPECT_EQ(grabber.grab(), Outcome::kFrame) << "the pointer counts";
    EXPECT_EQ(grabber.grab(), Outcome::kSame);
  }
}

TEST_F(ScreenCaptureTest, ACoveredWindowShowsItself) {
  const XServer server;
  const XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  const XWindow above({.place = {0, 0, 800, 600}, .colour = kGreen.rgb});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kRed));
  EXPECT_TRUE(shows(0.02, 0.02, kRed));
  EXPECT_TRUE(shows(0.98, 0.98, kRed));
}

TEST_F(ScreenCaptureTest, AWindowPartlyOutsideTheScreen) {
  const XWindowOptions options{.place = {640, 480, 320, 240}, .colour = kRed.rgb};
  {
    const XServer server;
    const XWindow window(options);
    const XWindow corner(
        {.place = {160, 120, 160, 120}, .colour = kBlue.rgb, .parent = window.id()});
    capture(window);
    ASSERT_TRUE(comesToShow(0.98, 0.98, kBlue)) << "whole";
    EXPECT_TRUE(shows(0.02, 0.02, kRed));
    capture_.reset();
  }
  const XServer server({"-extension", "Composite"});
  const XWindow window(options);
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kRed)) << "what is to be seen of it: 160 by 120";
  EXPECT_TRUE(shows(0.98, 0.98, kRed));
  EXPECT_EQ(errors_.count("lost"), 0);
}

TEST_F(ScreenCaptureTest, AResizedWindowIsFollowed) {
  const XServer server;
  XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.02, kRed));
  window.resize({320, 120});
  EXPECT_TRUE(comesToShow(0.5, 0.02, kBlack));
  EXPECT_TRUE(shows(0.5, 0.5, kRed));
  window.resize({100, 240});
  EXPECT_TRUE(comesToShow(0.02, 0.5, kBlack));
  for (int i = 1; i <= 40; ++i) window.resize({8 * i, 6 * i});
  window.setColour(kGreen.rgb);
  EXPECT_TRUE(comesToShow(0.02, 0.02, kGreen));
  EXPECT_TRUE(errors_.all().empty());
}

TEST_F(ScreenCaptureTest, AMinimisedWindowKeepsItsLastFrameAndResumes) {
  const XServer server;
  XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kRed));
  for (const int times : {1, 2}) {
    window.unmap();
    ASSERT_TRUE(errors_.waitFor("hidden", times));
    EXPECT_TRUE(shows(0.5, 0.5, kRed));
    window.setColour(kGreen.rgb);
    window.map();
    EXPECT_TRUE(comesToShow(0.5, 0.5, kGreen));
    window.setColour(kRed.rgb);
    EXPECT_TRUE(comesToShow(0.5, 0.5, kRed));
  }
  EXPECT_EQ(errors_.count("hidden"), 2) << "once each time";
  EXPECT_EQ(errors_.count("lost"), 0);
}

TEST_F(ScreenCaptureTest, AClosedWindowIsLostAndItsLastFrameStays) {
  const XServer server;
  XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kRed));
  window.destroy();
  ASSERT_TRUE(errors_.waitFor("lost"));
  EXPECT_TRUE(shows(0.5, 0.5, kRed));
  EXPECT_EQ(errors_.count("lost"), 1);
}

TEST_F(ScreenCaptureTest, AKilledServerIsDetected) {
  XServer server;
  const XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kRed));
  server.kill();
  ASSERT_TRUE(errors_.waitFor("lost"));
  EXPECT_TRUE(shows(0.5, 0.5, kRed));
}

TEST_F(ScreenCaptureTest, AFrozenServerDoesNotBlockTheEnd) {
  const XServer server;
  const XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kRed));
  server.signal(SIGSTOP);
  const auto begin = Clock::now();
  capture_.reset();
  EXPECT_LT(Clock::now() - begin, 1s);
  server.signal(SIGCONT);
  EXPECT_TRUE(errors_.all().empty());
}

TEST_F(ScreenCaptureTest, AMissingSourceIsLostImmediately) {
  capture(ScreenId{1});  // no $DISPLAY
  EXPECT_TRUE(errors_.waitFor("lost"));
  const XServer server;
  capture(ScreenId{0x7fffff});
  EXPECT_TRUE(errors_.waitFor("lost", 2));
  capture(ScreenId{0x4fffffff});
  EXPECT_TRUE(errors_.waitFor("lost", 3));
  EXPECT_EQ(frames_->count(), 0U);
}

TEST_F(ScreenCaptureTest, ThePointerIsDrawn) {
  const XServer server;
  XWindow window({.place = {100, 100, 320, 240}, .colour = kRed.rgb});
  window.showPointer({0, 0, 0xffff});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kBlue));
  EXPECT_TRUE(shows(0.5 - 12.0 / 320, 0.5, kRed)) << "8 pixels to each side";
  EXPECT_TRUE(shows(0.5, 0.5 + 12.0 / 240, kRed));
  capture(listScreenSources().at(0).id);
  EXPECT_TRUE(comesToShow(260.0 / 800, 220.0 / 600, kBlue));
}

TEST_F(ScreenCaptureTest, PausedItDeliversNoFrames) {
  const XServer server;
  XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kRed));
  capture_->setPaused(true);
  const uint64_t count = frames_->count();
  window.setColour(kGreen.rgb);
  std::this_thread::sleep_for(200ms);  // time for six frames
  EXPECT_EQ(frames_->count(), count);
  EXPECT_TRUE(shows(0.5, 0.5, kRed));
  capture_->setPaused(false);
  EXPECT_TRUE(comesToShow(0.5, 0.5, kGreen));
}

TEST_F(ScreenCaptureTest, TheRateIsKept) {
  const XServer server;
  XWindow window({.colour = kRed.rgb});
  capture(window, 10);
  ASSERT_TRUE(goesOn(window, 1));
  auto begin = Clock::now();
  EXPECT_TRUE(goesOn(window, 10));
  EXPECT_GE(Clock::now() - begin, 880ms);
  capture_->setFormat({kCaptured.width, kCaptured.height, 20}, frames_);
  ASSERT_TRUE(goesOn(window, 1));
  begin = Clock::now();
  EXPECT_TRUE(goesOn(window, 10));
  EXPECT_GE(Clock::now() - begin, 430ms);
}

TEST_F(ScreenCaptureTest, AnotherFormatShowsTheCurrentFrameToo) {
  const XServer server;
  const XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  capture(window);
  ASSERT_TRUE(comesToShow(0.5, 0.5, kRed));
  const auto before = frames_;
  frames_ = std::make_shared<FrameMailbox>();
  capture_->setFormat({160, 120, 30}, frames_);
  ASSERT_TRUE(eventually([this] { return frames_->latest() != nullptr; }));
  const GstPtr<GstBuffer> buffer = frames_->latest();
  const GstVideoMeta* layout = gst_buffer_get_video_meta(buffer.get());
  EXPECT_EQ(layout->width, 160U);
  EXPECT_EQ(layout->height, 120U);
  EXPECT_TRUE(before->latest()) << "readers of the old mailbox still get its frame";
}

TEST_F(ScreenCaptureTest, ThirtyCapturesLeakNothing) {
  const XServer server;
  const XWindow window({.place = {0, 0, 320, 240}, .colour = kRed.rgb});
  const auto cycle = [&] {
    capture(window);
    ASSERT_TRUE(comesToShow(0.5, 0.5, kRed));
    capture_.reset();
  };
  cycle();
  const ProcessUsage before = processUsage();
  for (int i = 0; i < 30; ++i) cycle();
  const ProcessUsage after = processUsage();
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.descriptors, before.descriptors);
}

}  // namespace
}  // namespace NimboEngine::test

// A shared screen in the camera's place, as received by the session's consumers.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "capture/capture_probe.h"
#include "capture/capture_session.h"
#include "devices/devices.h"
#include "gst/runtime.h"
#include "support/event_log.h"
#include "support/x_server.h"

namespace NimboEngine::test {
namespace {

constexpr uint32_t kRedRgb = 0xff0000;

bool isPattern(const Frame& frame) {
  return frame.at(0.07, 0.5)[0] > 200;
}

bool isRedFrame(const Frame& frame) {
  return std::abs(frame.at(0.07, 0.5)[0] - 63) < 4 && frame.at(0.07, 0.5)[2] > 235;
}

class ScreenSharingSessionTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  ScreenSharingSessionTest() {
    CaptureSettings settings;
    settings.video = {320, 240, 30};
    settings.mirror = true;
    settings.camera = DeviceId::test();
    settings.microphone = DeviceId::test();
    session_ = std::make_unique<CaptureSession>(
        settings,
        [this](FrameOrigin origin, uint8_t* pixels, const GstVideoInfo&) {
          // Red has a luma of 63; nothing in the pattern's corner has.
          const bool red = std::abs(pixels[0] - 63) < 4;
          if (red != (origin == FrameOrigin::kScreen)) ++mislabelled_;
        },
        [this](DeviceKind kind, const DeviceId&, const std::string&) {
          events_.add(kindName(kind));
        });
    session_->addConsumer(&probe_);
  }
  ~ScreenSharingSessionTest() override { session_->removeConsumer(&probe_); }

  void share(const XWindow& window) {
    session_->shareScreen(ScreenId{window.id()}, [this](ScreenError error, const std::string&) {
      events_.add(error == ScreenError::kHidden ? "hidden" : "lost");
    });
  }

  const XServer server_;
  XWindow window_{{.place = {0, 0, 320, 240}, .colour = kRedRgb}};
  EventLog events_;
  std::atomic<int> mislabelled_{0};
  CaptureProbe probe_;
  std::unique_ptr<CaptureSession> session_;
};

// Mirrored, the pattern begins with blue; its first bar is at the right.
bool isMirroredPattern(const Frame& frame) {
  return frame.at(0.93, 0.5)[0] > 200;
}

TEST_F(ScreenSharingSessionTest, ReplacesTheCameraAndRestoresItWithoutAGap) {
  ASSERT_TRUE(probe_.waitForFrame(isMirroredPattern));
  share(window_);
  ASSERT_TRUE(probe_.waitForFrame(isRedFrame));
  for (const Frame& frame : probe_.frames(5)) EXPECT_TRUE(isRedFrame(frame));
  session_->stopScreen();
  const std::vector<Frame> afterwards = probe_.frames(5);
  EXPECT_TRUE(isMirroredPattern(afterwards.back()));
  EXPECT_FALSE(isPattern(afterwards.back())) << "mirrored still";
  session_->stopScreen();  // once is enough
  EXPECT_EQ(mislabelled_, 0) << "each frame has the right origin";
  EXPECT_TRUE(events_.all().empty());
}

TEST_F(ScreenSharingSessionTest, TheScreenIsNotMirrored) {
  const XWindow left({.place = {0, 0, 160, 240}, .colour = 0xffffff, .parent = window_.id()});
  share(window_);
  ASSERT_TRUE(probe_.waitForFrame(
      [](const Frame& frame) { return std::abs(frame.at(0.9, 0.1)[0] - 63) < 3; }));
  EXPECT_EQ(probe_.frames(1).at(0).at(0.1, 0.1)[0], 235);
}

TEST_F(ScreenSharingSessionTest, AMutedCameraDoesNotHideTheScreenAndIsNeverSeen) {
  ASSERT_TRUE(probe_.waitForFrame(isMirroredPattern));
  session_->setCameraMuted(true);
  ASSERT_TRUE(probe_.waitForFrame(&Frame::isBlack));
  window_.unmap();
  share(window_);
  ASSERT_TRUE(events_.waitFor("hidden"));
  for (const Frame& frame : probe_.frames(5)) {
    EXPECT_TRUE(frame.isBlack()) << "what was seen last is still the camera";
  }
  window_.map();
  EXPECT_TRUE(probe_.waitForFrame(isRedFrame));
  session_->stopScreen();
  EXPECT_TRUE(probe_.waitForFrame(&Frame::isBlack));
}

TEST_F(ScreenSharingSessionTest, TheCameraMayStopAndStartUnseen) {
  share(window_);
  ASSERT_TRUE(probe_.waitForFrame(isRedFrame));
  session_->setCameraRunning(false);
  session_->setCameraRunning(true);
  for (const Frame& frame : probe_.frames(10)) EXPECT_TRUE(isRedFrame(frame));
  session_->stopScreen();
  EXPECT_TRUE(probe_.waitForFrame(isMirroredPattern));
}

TEST_F(ScreenSharingSessionTest, AClosedWindowLeavesItsFrameUntilAnotherIsShared) {
  share(window_);
  ASSERT_TRUE(probe_.waitForFrame(isRedFrame));
  window_.destroy();
  ASSERT_TRUE(events_.waitFor("lost"));
  for (const Frame& frame : probe_.frames(5)) EXPECT_TRUE(isRedFrame(frame));
  const XWindow another({.place = {0, 0, 320, 240}, .colour = 0xffffff});
  share(another);
  EXPECT_TRUE(
      probe_.waitForFrame([](const Frame& frame) { return frame.at(0.07, 0.07)[0] == 235; }));
}

bool hasSize(const Frame& frame, int width, int height) {
  return frame.info.width == width && frame.info.height == height;
}

TEST_F(ScreenSharingSessionTest, TheScreenChangesItsSizeAndTheCameraKeepsItsOwn) {
  ASSERT_TRUE(probe_.waitForFrame(isMirroredPattern));
  share(window_);
  ASSERT_TRUE(probe_.waitForFrame(isRedFrame));
  session_->setFormat({640, 480, 30});
  ASSERT_TRUE(probe_.waitForFrame(
      [](const Frame& frame) { return hasSize(frame, 640, 480) && isRedFrame(frame); }));
  session_->setScreenPaused(true);
  session_->setFormat({160, 120, 30});
  for (const Frame& frame : probe_.frames(5)) {
    EXPECT_TRUE(isRedFrame(frame)) << "paused, what was seen last stands in its old size";
  }
  session_->setScreenPaused(false);
  ASSERT_TRUE(probe_.waitForFrame(
      [](const Frame& frame) { return hasSize(frame, 160, 120) && isRedFrame(frame); }));
  session_->stopScreen();
  ASSERT_TRUE(probe_.waitForFrame(
      [](const Frame& frame) { return hasSize(frame, 320, 240) && isMirroredPattern(frame); }));
  EXPECT_EQ(mislabelled_, 0);
}

TEST_F(ScreenSharingSessionTest, PausedItKeepsTheLastFrame) {
  share(window_);
  ASSERT_TRUE(probe_.waitForFrame(isRedFrame));
  session_->setScreenPaused(true);
  window_.setColour(0xffffff);
  for (const Frame& frame : probe_.frames(10)) EXPECT_TRUE(isRedFrame(frame));
  session_->setScreenPaused(false);
  EXPECT_TRUE(
      probe_.waitForFrame([](const Frame& frame) { return frame.at(0.07, 0.07)[0] == 235; }));
}

}  // namespace
}  // namespace NimboEngine::test

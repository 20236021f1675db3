// Screen sharing through the public interface: results, events and the published stream.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "NimboSdk/LumoLiveBase.h"
#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoLiveResult.h"
#include "support/fake_portal.h"
#include "support/recording_listener.h"
#include "support/rtmp_server.h"
#include "support/session_bus.h"
#include "support/x_server.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using test::RecordingListener;
using test::RtmpServer;
using test::XServer;
using test::XWindow;

constexpr LumoLiveScreenShareEncoderConfig kEncoder{.mResolution = 3,
                                                    .width = 400,
                                                    .height = 300,
                                                    .frameRate = 10,
                                                    .bitrate = 512,
                                                    .mVideoEncodeGop = 1};

class ScreenOperationsTest : public testing::Test {
 protected:
  ScreenOperationsTest()
      : pusher(LumoLivePusher::Create(R"({"camera": "test", "microphone": "test"})")) {
    config.mResolution = 0;
    config.frameRate = 30;
    listener.edit = [](LumoLiveVideoSource source, LumoLiveVideoRawData&) {
      (source == kLumoLiveVideoSourceScreen ? screenFrames : cameraFrames)++;
      return false;
    };
    screenFrames = 0;
    cameraFrames = 0;
    listener.attachTo(pusher);
  }
  ~ScreenOperationsTest() override { LumoLivePusher::destroy(); }

  // Waits until `count` more frames have been captured.
  static void waitForMore(const std::atomic<int>& frames, int count = 3) {
    const int before = frames;
    for (int i = 0; i < 6000 && frames < before + count; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_GE(frames, before + count);
  }

  static inline std::atomic<int> screenFrames{0};
  static inline std::atomic<int> cameraFrames{0};
  LumoLivePushConfig config;
  RecordingListener listener;
  LumoLivePusher* const pusher;
};

TEST_F(ScreenOperationsTest, WithoutADisplayTheListIsEmpty) {
  LumoLiveScreenSourceList* list = pusher->getScreenShareSourceInfo();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->getCount(), 0U);
  EXPECT_EQ(list->getSource(0).sourceId, 0);
  list->release();
  pusher->init(config);
  EXPECT_EQ(pusher->startScreenShareByDesktopId(1), kLumoLiveNotFound);
}

TEST_F(ScreenOperationsTest, WhatIsListedCanBeShared) {
  const XServer server;
  const XWindow window({.name = "one"});
  LumoLiveScreenSourceList* list = pusher->getScreenShareSourceInfo();
  ASSERT_EQ(list->getCount(), 2U);
  EXPECT_EQ(list->getSource(1).sourceId, window.id());
  EXPECT_STREQ(list->getSource(1).sourceName.c_str(), "one");
  const auto screen = static_cast<uint32_t>(list->getSource(0).sourceId);
  list->release();
  EXPECT_EQ(pusher->startScreenShareByDesktopId(screen), kLumoLiveNotInitialized);
  pusher->init(config);
  EXPECT_EQ(pusher->startScreenShareByDesktopId(screen), kLumoLiveOk);
  EXPECT_EQ(pusher->getCurrentScreenShareSourceId(), screen);
  EXPECT_EQ(pusher->startScreenShareByDesktopId(window.id()), kLumoLiveOk);
  EXPECT_EQ(pusher->getCurrentScreenShareSourceId(), window.id());
  EXPECT_EQ(pusher->startScreenShareByDesktopId(window.id() + 1), kLumoLiveNotFound);
  EXPECT_EQ(pusher->getCurrentScreenShareSourceId(), window.id()) << "a refusal changes nothing";
}

TEST_F(ScreenOperationsTest, NothingWorksWhileNoScreenIsShared) {
  const XServer server;
  const XWindow window(Size{100, 100});
  EXPECT_EQ(pusher->switchScreenToCamera(), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->pauseScreenShare(), kLumoLiveNotInitialized);
  pusher->init(config);
  EXPECT_EQ(pusher->switchScreenToCamera(), kLumoLiveInvalidState);
  EXPECT_EQ(pusher->pauseScreenShare(), kLumoLiveInvalidState);
  EXPECT_EQ(pusher->resumeScreenShare(), kLumoLiveInvalidState);
  EXPECT_EQ(pusher->getCurrentScreenShareSourceId(), 0U);
  pusher->startScreenShareByDesktopId(window.id());
  EXPECT_EQ(pusher->switchScreenToCamera(), kLumoLiveOk);
  EXPECT_EQ(pusher->getCurrentScreenShareSourceId(), 0U);
  EXPECT_EQ(pusher->switchScreenToCamera(), kLumoLiveInvalidState);
}

TEST_F(ScreenOperationsTest, AudioOnlyCaptureRefusesAScreen) {
  const XServer server;
  const XWindow window(Size{100, 100});
  config.mAudioOnly = true;
  pusher->init(config);
  EXPECT_EQ(pusher->startScreenShareByDesktopId(window.id()), kLumoLiveInvalidState);
}

TEST_F(ScreenOperationsTest, TheEncoderConfigurationIsCheckedAndKept) {
  EXPECT_EQ(pusher->getScreenShareEncoderConfiguration().bitrate, 0);
  EXPECT_EQ(pusher->setScreenShareEncoderConfiguration(nullptr), kLumoLiveInvalidArgument);
  EXPECT_EQ(pusher->setScreenShareEncoderConfiguration(&kEncoder), kLumoLiveOk);
  LumoLiveScreenShareEncoderConfig bad = kEncoder;
  bad.frameRate = 100;
  EXPECT_EQ(pusher->setScreenShareEncoderConfiguration(&bad), kLumoLiveInvalidArgument);
  bad = kEncoder;
  bad.width = -1;
  EXPECT_EQ(pusher->setScreenShareEncoderConfiguration(&bad), kLumoLiveInvalidArgument);
  const auto kept = pusher->getScreenShareEncoderConfiguration();
  EXPECT_EQ(std::memcmp(&kept, &kEncoder, sizeof kept), 0) << "a refusal changes nothing";
  LumoLiveScreenShareEncoderConfig defaults{.mResolution = 3,
                                            .width = 0,
                                            .height = 0,
                                            .frameRate = 0,
                                            .bitrate = 512,
                                            .mVideoEncodeGop = 2};
  EXPECT_EQ(pusher->setScreenShareEncoderConfiguration(&defaults), kLumoLiveOk)
      << "what the add-on sends for an empty object";
}

TEST_F(ScreenOperationsTest, ARefusedEncoderConfigurationNamesItsOwnFieldAndNumber) {
  struct BadField {
    const char* error;
    std::function<void(LumoLiveScreenShareEncoderConfig&)> change;
  };
  const std::vector<BadField> fields = {
      {"mResolution is 8, not 0 to 7",
       [](auto& bad) { bad.width = 0, bad.height = 0, bad.mResolution = 8; }},
      {"width is -5, not 16 to 4096", [](auto& bad) { bad.width = -5; }},
      {"height is -2147483648, not 16 to 4096", [](auto& bad) { bad.height = INT32_MIN; }},
      {"frameRate is 61, not 1 to 60", [](auto& bad) { bad.frameRate = 61; }},
      {"bitrate is 10, not 50 to 50000", [](auto& bad) { bad.bitrate = 10; }},
      {"mVideoEncodeGop is 0, not 1 to 60", [](auto& bad) { bad.mVideoEncodeGop = 0; }},
  };
  LumoLiveBase::setConsoleEnabled(true);
  for (const auto& [error, change] : fields) {
    LumoLiveScreenShareEncoderConfig bad = kEncoder;
    change(bad);
    testing::internal::CaptureStderr();
    EXPECT_EQ(pusher->setScreenShareEncoderConfiguration(&bad), kLumoLiveInvalidArgument);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find(std::string("refused: ") + error + "\n"), std::string::npos) << log;
  }
  LumoLiveBase::setConsoleEnabled(false);
}

TEST_F(ScreenOperationsTest, FramesCarryTheirOriginBeforeAndAfterTheSwitch) {
  const XServer server;
  const XWindow window(Size{100, 100});
  pusher->init(config);
  pusher->startScreenShareByDesktopId(window.id());
  pusher->startPreview(nullptr, 0, 0);
  waitForMore(screenFrames);
  pusher->switchScreenToCamera();
  waitForMore(cameraFrames);
  pusher->startScreenShareByDesktopId(window.id());
  waitForMore(screenFrames);
  pusher->stopPreview();
  ASSERT_TRUE(listener.events.waitFor("preview stopped"));
  pusher->startPreview(nullptr, 0, 0);
  waitForMore(screenFrames);
}

TEST_F(ScreenOperationsTest, MinimisedAndClosedWindowsAreReported) {
  const XServer server;
  XWindow window(Size{100, 100});
  pusher->init(config);
  pusher->startPreview(nullptr, 0, 0);
  pusher->startScreenShareByDesktopId(window.id());
  waitForMore(screenFrames);
  window.unmap();
  ASSERT_TRUE(listener.events.waitFor("SDK error -3301"));
  window.destroy();
  ASSERT_TRUE(listener.events.waitFor("SDK error -3302"));
  waitForMore(screenFrames);
  EXPECT_EQ(pusher->getCurrentScreenShareSourceId(), window.id()) << "its last frame stays";
  EXPECT_EQ(pusher->switchScreenToCamera(), kLumoLiveOk);
  waitForMore(cameraFrames);
}

TEST_F(ScreenOperationsTest, ARefusalInTheDesktopsDialogueIsReported) {
  const test::SessionBus session;
  test::FakePortal desktop({.start = 1});
  LumoLiveScreenSourceList* list = pusher->getScreenShareSourceInfo();
  ASSERT_EQ(list->getCount(), 1U);
  const auto choice = static_cast<uint32_t>(list->getSource(0).sourceId);
  list->release();
  pusher->init(config);
  EXPECT_EQ(pusher->startScreenShareByDesktopId(choice), kLumoLiveOk);
  EXPECT_TRUE(desktop.calls.all().empty()) << "the user is not asked before capture starts";
  pusher->startPreview(nullptr, 0, 0);
  ASSERT_TRUE(listener.events.waitFor("SDK error -3303"));
  EXPECT_EQ(pusher->switchScreenToCamera(), kLumoLiveOk);
  waitForMore(cameraFrames);
}

TEST_F(ScreenOperationsTest, APushThatBeginsWhileSharingIsEncodedAsTheScreenIs) {
  const XServer display;
  const XWindow window(Size{100, 100});
  const RtmpServer server;
  pusher->init(config);
  pusher->setScreenShareEncoderConfiguration(&kEncoder);
  pusher->startScreenShareByDesktopId(window.id());
  pusher->startPush(server.url("live", "screen").c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  EXPECT_NE(
      test::probe(server.url("live", "screen")).find("width=400|height=300|r_frame_rate=10/1"),
      std::string::npos);
  pusher->stopPush();
  ASSERT_TRUE(listener.events.waitFor("push stopped"));
  pusher->switchScreenToCamera();
  pusher->startPush(server.url("live", "camera").c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed", 2));
  EXPECT_NE(
      test::probe(server.url("live", "camera")).find("width=320|height=180|r_frame_rate=30/1"),
      std::string::npos);
}

}  // namespace
}  // namespace NimboEngine

// Tests of the pusher through its public interface, without a server.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "NimboSdk/LumoLiveBase.h"
#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoLiveResult.h"
#include "support/colour_bars.h"
#include "support/event_log.h"
#include "support/recording_listener.h"
#include "support/rtmp_server.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;
using test::RecordingListener;

constexpr char kTestSources[] = R"({"camera": "test", "microphone": "test"})";

LumoLivePushConfig smallConfig() {
  LumoLivePushConfig config;
  config.mResolution = 0;
  config.frameRate = 30;
  return config;
}

class LivePusherTest : public testing::Test {
 protected:
  LivePusherTest() : pusher(LumoLivePusher::Create(kTestSources)) { listener.attachTo(pusher); }
  ~LivePusherTest() override { LumoLivePusher::destroy(); }

  RecordingListener listener;
  LumoLivePusher* const pusher;
};

TEST(LivePusherCreation, OnlyOneMayExist) {
  LumoLivePusher* first = LumoLivePusher::Create("");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(LumoLivePusher::Create(""), nullptr);
  LumoLivePusher::destroy();
  LumoLivePusher::destroy();  // nothing is there
  EXPECT_NE(LumoLivePusher::Create(nullptr), nullptr);
  LumoLivePusher::destroy();
}

// The engine's threads are still loading what they need.
TEST(LivePusherCreation, TheProcessMayEndAtOnce) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(LumoLivePusher::Create("") ? 0 : 1),  // NOLINT: the point of it
              testing::ExitedWithCode(0), "");
}

TEST(LivePusherCreation, BadSettingsReturnNull) {
  EXPECT_EQ(LumoLivePusher::Create("{"), nullptr);
  EXPECT_EQ(LumoLivePusher::Create(R"({"camera": 1})"), nullptr);
  EXPECT_NE(LumoLivePusher::Create("{}"), nullptr) << "a refused one does not count";
  LumoLivePusher::destroy();
}

TEST_F(LivePusherTest, NothingWorksBeforeInit) {
  EXPECT_EQ(pusher->startPreview(nullptr, 0, 0), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->startPush("rtmp://127.0.0.1/live/s"), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->startCamera(), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->stopCamera(), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->setMute(true, 0), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->muteLocalCamera(true), kLumoLiveNotInitialized);
  LumoLivePushConfig bad;
  bad.frameRate = 0;
  EXPECT_EQ(pusher->init(bad), kLumoLiveInvalidArgument);
  EXPECT_EQ(pusher->startPreview(nullptr, 0, 0), kLumoLiveNotInitialized);
}

TEST_F(LivePusherTest, TheSupportedModesAreThoseThatInitTakes) {
  for (uint32_t mode = 0; mode < 10; ++mode) {
    LumoLivePushConfig config = smallConfig();
    config.mLivePushMode = mode;
    EXPECT_EQ(pusher->init(config) == kLumoLiveOk,
              LumoLiveBase::isSupportLiveMode(static_cast<LumoLiveMode>(mode)))
        << mode;
  }
}

TEST_F(LivePusherTest, PreviewDeliversFramesAndItsEvents) {
  ASSERT_EQ(pusher->init(smallConfig()), kLumoLiveOk);
  EXPECT_EQ(pusher->startPreview(nullptr, 0, 0), kLumoLiveOk);
  ASSERT_TRUE(listener.events.waitFor("preview started"));
  EXPECT_EQ(listener.events.count("first frame captured"), 1);
  EXPECT_EQ(pusher->stopPreview(), kLumoLiveOk);
  ASSERT_TRUE(listener.events.waitFor("preview stopped"));
  const int frames = listener.frames;
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(listener.frames, frames) << "nothing is captured without preview and push";
  EXPECT_EQ(
      listener.events.all(),
      (std::vector<std::string>{"first frame captured", "preview started", "preview stopped"}));
}

TEST_F(LivePusherTest, FramesAreAsConfigured) {
  static std::atomic<bool> right{false};
  listener.edit = [](LumoLiveVideoSource source, LumoLiveVideoRawData& frame) {
    right = source == kLumoLiveVideoSourceCamera && frame.width == 322 && frame.height == 181 &&
            frame.strideY >= 322 && frame.strideU >= 161 && frame.strideV == frame.strideU;
    return false;
  };
  LumoLivePushConfig config = smallConfig();
  config.width = 322;
  config.height = 181;
  pusher->init(config);
  pusher->startPreviewAsync(nullptr, 0, 0);
  ASSERT_TRUE(listener.events.waitFor("preview started"));
  EXPECT_TRUE(right);
}

// The bars of the test pattern, in a size for which another coding is usual.
bool showsBars(const LumoLiveVideoRawData& frame) {
  const unsigned char* u = frame.data + ptrdiff_t{frame.strideY} * frame.height;
  const unsigned char* v = u + ptrdiff_t{frame.strideU} * ((frame.height + 1) / 2);
  for (int bar = 0; bar < 7; ++bar) {
    const int x = (2 * bar + 1) * frame.width / 14;
    const int y = frame.height / 2;
    const std::array<int, 3> seen{frame.data[y * frame.strideY + x],
                                  u[y / 2 * frame.strideU + x / 2],
                                  v[y / 2 * frame.strideV + x / 2]};
    const test::Codes wanted = test::formCodesOf(test::kColourBars[static_cast<size_t>(bar)]);
    for (size_t i = 0; i < 3; ++i) {
      if (std::abs(seen[i] - wanted[i]) > 1) return false;
    }
  }
  return true;
}

TEST_F(LivePusherTest, FramesAreCodedByBt709InLimitedRange) {
  static test::EventLog seen;
  listener.edit = [](LumoLiveVideoSource, LumoLiveVideoRawData& frame) {
    if (showsBars(frame)) seen.add("bars");
    return false;
  };
  pusher->init(smallConfig());
  pusher->startPreview(nullptr, 0, 0);
  EXPECT_TRUE(seen.waitFor("bars"));
}

TEST_F(LivePusherTest, FramesOfAResolutionCodeNeedNoPadding) {
  static std::atomic<int> width{0};
  listener.edit = [](LumoLiveVideoSource, LumoLiveVideoRawData& frame) {
    width = frame.width == frame.strideY ? frame.width : -1;
    return false;
  };
  for (uint32_t code = 0; code <= 4; ++code) {
    LumoLivePushConfig config = smallConfig();
    config.mResolution = code;
    config.width = 0;
    config.height = 0;
    ASSERT_EQ(pusher->init(config), kLumoLiveOk);
    pusher->startPreview(nullptr, 0, 0);
    ASSERT_TRUE(listener.events.waitFor("preview started", static_cast<ptrdiff_t>(code) + 1));
    EXPECT_GT(width, 0);
    EXPECT_EQ(width % 8, 0) << "code " << code;
    pusher->stopPreview();
    ASSERT_TRUE(listener.events.waitFor("preview stopped", static_cast<ptrdiff_t>(code) + 1));
  }
}

TEST_F(LivePusherTest, PreviewOfAudioAloneStartsWithoutFrames) {
  LumoLivePushConfig config = smallConfig();
  config.mAudioOnly = true;
  pusher->init(config);
  pusher->startPreview(nullptr, 0, 0);
  ASSERT_TRUE(listener.events.waitFor("preview started"));
  EXPECT_EQ(listener.frames, 0);
}

TEST_F(LivePusherTest, PreviewContinuesWithoutAnInvalidWindow) {
  const char* display = std::getenv("DISPLAY");  // NOLINT(concurrency-mt-unsafe): never set
  if (display) GTEST_SKIP() << "there is a display: no window is certain not to be there";
  uint32_t window = 4711;
  pusher->init(smallConfig());
  EXPECT_EQ(pusher->startPreview(&window, 320, 180), kLumoLiveOk);
  EXPECT_TRUE(listener.events.waitFor("system error -3103"));
  EXPECT_TRUE(listener.events.waitFor("preview started"));
}

TEST_F(LivePusherTest, OperationsInTheWrongStateAreRefused) {
  pusher->init(smallConfig());
  EXPECT_EQ(pusher->stopPreview(), kLumoLiveInvalidState);
  EXPECT_EQ(pusher->stopPush(), kLumoLiveInvalidState);
  EXPECT_EQ(pusher->startPreview(nullptr, 0, 0), kLumoLiveOk);
  EXPECT_EQ(pusher->startPreview(nullptr, 0, 0), kLumoLiveInvalidState);
  EXPECT_EQ(pusher->init(smallConfig()), kLumoLiveInvalidState);
  EXPECT_EQ(pusher->stopPreview(), kLumoLiveOk);
  EXPECT_EQ(pusher->init(smallConfig()), kLumoLiveOk) << "idle: a new configuration is welcome";
}

TEST_F(LivePusherTest, BadUrlsAreRefusedAtOnce) {
  pusher->init(smallConfig());
  for (const char* url : {static_cast<const char*>(nullptr), "", "http://h/a/s", "rtmp://h/a"}) {
    EXPECT_EQ(pusher->startPush(url), kLumoLiveInvalidArgument);
    EXPECT_EQ(pusher->startPushAsync(url), kLumoLiveInvalidArgument);
  }
  EXPECT_EQ(pusher->stopPush(), kLumoLiveInvalidState);
}

TEST_F(LivePusherTest, AFailedPushReportsAndMayBeRepeated) {
  const std::string url = "rtmp://127.0.0.1:" + std::to_string(test::freePort()) + "/live/s";
  pusher->init(smallConfig());
  for (int attempt = 1; attempt <= 2; ++attempt) {
    EXPECT_EQ(pusher->startPush(url.c_str()), kLumoLiveOk);
    ASSERT_TRUE(listener.events.waitFor("SDK error -3002", attempt));
    EXPECT_EQ(listener.events.count("connect fail"), attempt);
  }
  EXPECT_EQ(listener.events.count("push started"), 0);
  EXPECT_EQ(pusher->stopPush(), kLumoLiveInvalidState) << "the push has ended";
}

TEST_F(LivePusherTest, EachStopIsConfirmedOnce) {
  const std::string url = "rtmp://127.0.0.1:" + std::to_string(test::freePort()) + "/live/s";
  pusher->init(smallConfig());
  constexpr int kRounds = 20;
  int stops = 0;
  for (int round = 0; round < kRounds; ++round) {  // some of them cross the failure on its way
    ASSERT_EQ(pusher->startPush(url.c_str()), kLumoLiveOk);
    std::this_thread::sleep_for(std::chrono::milliseconds(round * 5));
    if (pusher->stopPush() == kLumoLiveOk) ++stops;
  }
  if (stops > 0) {
    ASSERT_TRUE(listener.events.waitFor("push stopped", stops));
  }
  RecordingListener::detachFrom(pusher);
  EXPECT_EQ(listener.events.count("push stopped"), stops);
  EXPECT_GE(listener.events.count("connect fail") + stops, kRounds);
}

TEST_F(LivePusherTest, DevicesAreThere) {
  LumoLiveDeviceList* cameras = pusher->getCameraList();
  ASSERT_NE(cameras, nullptr);
  ASSERT_GE(cameras->getCount(), 1u);
  LumoLiveDeviceList* microphones = pusher->getAudioCaptureList();
  ASSERT_NE(microphones, nullptr);
  ASSERT_GE(microphones->getCount(), 1u);
  EXPECT_STREQ(pusher->getCurrentCameraName().c_str(), "Test pattern");
  EXPECT_STREQ(pusher->getCurrentCameraID().c_str(), "test");
  EXPECT_STREQ(pusher->getCurrentAudioCaptureName().c_str(), "Test tone");
  EXPECT_STREQ(pusher->getCurrentAudioCaptureID().c_str(), "test");
}

TEST_F(LivePusherTest, DevicesAreChosenAtAnyTime) {
  for (const bool initialized : {false, true}) {
    if (initialized) pusher->init(smallConfig());
    EXPECT_EQ(pusher->setCurrentCameraID("test"), kLumoLiveOk);
    EXPECT_EQ(pusher->setCurrentCameraID(""), kLumoLiveOk);
    EXPECT_EQ(pusher->setCurrentCameraName("Test pattern"), kLumoLiveOk);
    EXPECT_EQ(pusher->setCurrentAudioCaptureID("test"), kLumoLiveOk);
    EXPECT_EQ(pusher->setCurrentAudioCaptureName("Test tone"), kLumoLiveOk);
    EXPECT_EQ(pusher->setCurrentCameraID("x"), kLumoLiveNotFound);
    EXPECT_EQ(pusher->setCurrentCameraName("x"), kLumoLiveNotFound);
    EXPECT_EQ(pusher->setCurrentAudioCaptureID("x"), kLumoLiveNotFound);
    EXPECT_EQ(pusher->setCurrentAudioCaptureName(""), kLumoLiveNotFound);
    EXPECT_EQ(pusher->setCurrentCameraID(nullptr), kLumoLiveInvalidArgument);
    EXPECT_EQ(pusher->setCurrentAudioCaptureName(nullptr), kLumoLiveInvalidArgument);
    EXPECT_STREQ(pusher->getCurrentCameraID().c_str(), "test");
    EXPECT_STREQ(pusher->getCurrentAudioCaptureID().c_str(), "test");
  }
}

TEST_F(LivePusherTest, EncoderChangesAreChecked) {
  EXPECT_EQ(pusher->setTargetVideoBitrate(500), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->setResolution(3, 0, 0), kLumoLiveNotInitialized);
  pusher->init(smallConfig());
  EXPECT_EQ(pusher->setTargetVideoBitrate(500), kLumoLiveOk);
  EXPECT_EQ(pusher->setMinVideoBitrate(100), kLumoLiveOk);
  EXPECT_EQ(pusher->setResolution(3, 0, 0), kLumoLiveOk);
  EXPECT_EQ(pusher->setResolution(99, 320, 180), kLumoLiveOk) << "a size stands above the code";
  EXPECT_EQ(pusher->setFps(10), kLumoLiveOk);
  for (const int kbps : {-1, 0, 49, 50001}) {
    EXPECT_EQ(pusher->setTargetVideoBitrate(kbps), kLumoLiveInvalidArgument);
    EXPECT_EQ(pusher->setMinVideoBitrate(kbps), kLumoLiveInvalidArgument);
  }
  EXPECT_EQ(pusher->setResolution(8, 0, 0), kLumoLiveInvalidArgument);
  EXPECT_EQ(pusher->setResolution(3, -1, 0), kLumoLiveInvalidArgument);
  EXPECT_EQ(pusher->setResolution(3, 640, 15), kLumoLiveInvalidArgument);
  for (const uint32_t fps : {0u, 61u, 4294967291u}) {
    EXPECT_EQ(pusher->setFps(fps), kLumoLiveInvalidArgument);
  }
}

TEST_F(LivePusherTest, TheFrameRateChangesWhileCapturing) {
  LumoLivePushConfig config = smallConfig();
  config.frameRate = 1;
  pusher->init(config);
  pusher->startPreview(nullptr, 0, 0);
  ASSERT_TRUE(listener.events.waitFor("preview started"));
  EXPECT_EQ(pusher->setFps(60), kLumoLiveOk);
  const int before = listener.frames;
  const auto begin = std::chrono::steady_clock::now();
  while (listener.frames < before + 60) std::this_thread::sleep_for(5ms);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s) << "60 frames at 1/s take a minute";
}

TEST_F(LivePusherTest, MixesAreConfirmedByEventsInTheOrderOfTheRequests) {
  LumoLiveTranscodingConfig good;
  LumoLiveTranscodingConfig bad;
  bad.mixStreams.Add({"nobody", 0, 0, 10, 10, 0});
  EXPECT_EQ(pusher->setLiveMixTranscodingConfig(&good), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->setLiveMixTranscodingConfig(&bad), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->setLiveMixTranscodingConfig(nullptr), kLumoLiveNotInitialized);
  pusher->init(smallConfig());
  EXPECT_EQ(pusher->setLiveMixTranscodingConfig(&good), kLumoLiveOk);
  EXPECT_EQ(pusher->setLiveMixTranscodingConfig(&bad), kLumoLiveNotFound);
  bad.cropMode = 3;
  EXPECT_EQ(pusher->setLiveMixTranscodingConfig(&bad), kLumoLiveInvalidArgument);
  EXPECT_EQ(pusher->setLiveMixTranscodingConfig(nullptr), kLumoLiveOk);
  ASSERT_TRUE(listener.events.waitFor("mixed", 2));
  EXPECT_EQ(listener.events.all(),
            (std::vector<std::string>{
                "mixed", "not mixed: user \"nobody\": no player has this ID or plays this URL",
                "not mixed: the crop mode is 3, not 0 to 2", "mixed"}));
}

TEST_F(LivePusherTest, TheProcessMayEndWhileItCaptures) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        pusher->init(smallConfig());
        pusher->startPreview(nullptr, 0, 0);
        std::exit(listener.events.waitFor("preview started") ? 0 : 1);  // NOLINT: the point of it
      },
      testing::ExitedWithCode(0), "");
}

// Frames keep arriving on the capture thread while listeners come and go on this one.
TEST_F(LivePusherTest, NoCallbackAfterDetaching) {
  LumoLivePushConfig config = smallConfig();
  config.frameRate = 60;
  pusher->init(config);
  pusher->startPreview(nullptr, 0, 0);
  ASSERT_TRUE(listener.events.waitFor("preview started"));
  for (int round = 0; round < 100; ++round) {
    RecordingListener shortLived;  // on this stack: a late call would meet freed memory
    shortLived.attachTo(pusher);
    if (round % 10 == 0) {
      while (shortLived.frames == 0) std::this_thread::yield();
    }
    RecordingListener::detachFrom(pusher);
  }
  SUCCEED();
}

TEST_F(LivePusherTest, DestroyedWhileRunningWithItsListenersAttached) {
  for (int round = 0; round < 10; ++round) {
    RecordingListener own;
    LumoLivePusher::destroy();
    LumoLivePusher* fresh = LumoLivePusher::Create(kTestSources);
    ASSERT_NE(fresh, nullptr);
    own.attachTo(fresh);
    fresh->init(smallConfig());
    fresh->startPreview(nullptr, 0, 0);
    if (round % 2 == 0) {
      ASSERT_TRUE(own.events.waitFor("preview started"));
    }
    LumoLivePusher::destroy();
    const int frames = own.frames;
    std::this_thread::sleep_for(40ms);
    EXPECT_EQ(own.frames, frames);
    ASSERT_NE(LumoLivePusher::Create(kTestSources), nullptr);
  }
}

}  // namespace
}  // namespace NimboEngine

// Whole pushes through the public interface: captured, encoded, published, checked with ffprobe.

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoLiveResult.h"
#include "support/process_usage.h"
#include "support/recording_listener.h"
#include "support/rtmp_server.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;
using test::RecordingListener;
using test::RtmpServer;

using Clock = std::chrono::steady_clock;

class LivePusherPublishTest : public testing::Test {
 protected:
  LivePusherPublishTest() { config.mResolution = 0; }
  ~LivePusherPublishTest() override { LumoLivePusher::destroy(); }

  LumoLivePusher* create() {
    LumoLivePusher* pusher = LumoLivePusher::Create(settings);
    EXPECT_EQ(pusher->init(config), kLumoLiveOk);
    listener.attachTo(pusher);
    return pusher;
  }

  const char* settings = R"({"camera": "test", "microphone": "test"})";
  RtmpServer server;
  RecordingListener listener;
  LumoLivePushConfig config;
};

// The average luma at the server, from ffmpeg's output "YAVG=<number>".
double lumaAtServer(const std::string& url) {
  const std::string text = test::outputOf(
      {"ffmpeg", "-v", "error", "-rw_timeout", "10000000", "-i", url, "-frames:v", "1", "-vf",
       "signalstats,metadata=print:key=lavfi.signalstats.YAVG:file=-", "-f", "null", "-"});
  const auto place = text.find("YAVG=");
  return place == std::string::npos ? -1 : std::stod(text.substr(place + 5));
}

TEST_F(LivePusherPublishTest, StreamIsSeenAtTheServer) {
  config.frameRate = 30;
  LumoLivePusher* pusher = create();
  EXPECT_EQ(pusher->startPush(server.url().c_str()), kLumoLiveOk);
  EXPECT_EQ(pusher->startPush(server.url().c_str()), kLumoLiveInvalidState);
  EXPECT_EQ(pusher->init(config), kLumoLiveInvalidState);
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  const std::string seen = test::probe(server.url());
  EXPECT_NE(seen.find("codec_name=h264|width=320|height=180|r_frame_rate=30/1"), std::string::npos)
      << seen;
  EXPECT_NE(seen.find("codec_name=aac|sample_rate=48000|channels=2"), std::string::npos) << seen;
  EXPECT_EQ(pusher->stopPush(), kLumoLiveOk);
  ASSERT_TRUE(listener.events.waitFor("push stopped"));
  EXPECT_EQ(listener.events.all(),
            (std::vector<std::string>{"first frame captured", "push started", "send message",
                                      "first frame pushed", "push stopped"}));
}

TEST_F(LivePusherPublishTest, TheStreamSignalsItsColorimetry) {
  create()->startPush(server.url().c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  const std::string seen = test::outputOf(
      {"ffprobe", "-v", "error", "-rw_timeout", "10000000", "-select_streams", "v", "-show_entries",
       "stream=color_range,color_space,color_transfer,color_primaries,chroma_location", "-of",
       "compact", server.url()});
  EXPECT_NE(seen.find("color_range=tv|color_space=bt709|color_transfer=bt709|"
                      "color_primaries=bt709|chroma_location=left"),
            std::string::npos)
      << seen;
}

TEST_F(LivePusherPublishTest, PixelsChangedByTheListenerArePublished) {
  listener.edit = [](LumoLiveVideoSource, LumoLiveVideoRawData& frame) {
    std::memset(frame.data, 200, static_cast<std::size_t>(frame.strideY * frame.height));
    return true;
  };
  LumoLivePusher* pusher = create();
  pusher->startPush(server.url().c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  EXPECT_NEAR(lumaAtServer(server.url()), 200, 3);
}

TEST_F(LivePusherPublishTest, MutedCameraPublishesBlack) {
  LumoLivePusher* pusher = create();
  EXPECT_EQ(pusher->muteLocalCamera(true), kLumoLiveOk);
  pusher->startPush(server.url().c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  EXPECT_NEAR(lumaAtServer(server.url()), 16, 3);
}

TEST_F(LivePusherPublishTest, StoppedCameraKeepsTheStreamAlive) {
  LumoLivePusher* pusher = create();
  pusher->startPush(server.url().c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  EXPECT_EQ(pusher->stopCamera(), kLumoLiveOk);
  EXPECT_NE(test::probe(server.url()).find("h264"), std::string::npos);
  EXPECT_EQ(pusher->startCamera(), kLumoLiveOk);
  EXPECT_NE(test::probe(server.url()).find("h264"), std::string::npos);
  EXPECT_EQ(listener.events.count("connection lost"), 0);
}

TEST_F(LivePusherPublishTest, PushAndPreviewShareTheCapture) {
  LumoLivePusher* pusher = create();
  pusher->startPreview(nullptr, 0, 0);
  pusher->startPush(server.url().c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  pusher->stopPreview();
  ASSERT_TRUE(listener.events.waitFor("preview stopped"));
  EXPECT_NE(test::probe(server.url()).find("h264"), std::string::npos) << "the push continues";
  pusher->startPreview(nullptr, 0, 0);
  ASSERT_TRUE(listener.events.waitFor("preview started", 2));
}

TEST_F(LivePusherPublishTest, KilledServerIsReportedAndTheNextPushWorks) {
  settings = R"({"camera": "test", "microphone": "test", "reconnect": {"maxAttempts": 0}})";
  LumoLivePusher* pusher = create();
  pusher->startPush(server.url().c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  server.kill();
  ASSERT_TRUE(listener.events.waitFor("SDK error -3006"));
  EXPECT_EQ(listener.events.count("connection lost"), 1);
  const RtmpServer another;
  EXPECT_EQ(pusher->startPush(another.url().c_str()), kLumoLiveOk);
  ASSERT_TRUE(listener.events.waitFor("first frame pushed", 2));
  EXPECT_NE(test::probe(another.url()).find("h264"), std::string::npos);
}

TEST_F(LivePusherPublishTest, StopAndStartAtOnce) {
  LumoLivePusher* pusher = create();
  pusher->startPush(server.url("live", "one").c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  EXPECT_EQ(pusher->stopPush(), kLumoLiveOk);
  EXPECT_EQ(pusher->startPush(server.url("live", "two").c_str()), kLumoLiveOk);
  ASSERT_TRUE(listener.events.waitFor("first frame pushed", 2));
  EXPECT_EQ(listener.events.count("push stopped"), 1);
  EXPECT_NE(test::probe(server.url("live", "two")).find("h264"), std::string::npos);
}

TEST_F(LivePusherPublishTest, NewConfigurationAppliesToTheNextPush) {
  LumoLivePusher* pusher = create();
  pusher->startPush(server.url("live", "one").c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  pusher->stopPush();
  config.width = 400;
  config.height = 300;
  EXPECT_EQ(pusher->init(config), kLumoLiveOk);
  pusher->startPush(server.url("live", "two").c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed", 2));
  EXPECT_NE(test::probe(server.url("live", "two")).find("width=400|height=300"), std::string::npos);
  EXPECT_EQ(listener.events.count("push stopped"), 1);
}

TEST_F(LivePusherPublishTest, FrozenServerBlocksNothing) {
  LumoLivePusher* pusher = create();
  pusher->startPush(server.url().c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  server.freeze();
  pusher->stopPush();
  EXPECT_TRUE(listener.events.waitFor("push stopped", 1, 1s));
  pusher->startPush(server.url().c_str());
  const auto begin = Clock::now();
  LumoLivePusher::destroy();
  EXPECT_LT(Clock::now() - begin, 1s);
  server.thaw();
}

TEST_F(LivePusherPublishTest, FiftyLifetimesLeakNothing) {
  constexpr int kWarmUp = 10;
  constexpr int kLives = 60;
  test::ProcessUsage before;
  for (int round = 0; round < kLives; ++round) {
    if (round == kWarmUp) before = test::processUsage();
    RecordingListener own;
    LumoLivePusher* pusher = create();
    own.attachTo(pusher);
    pusher->startPreview(nullptr, 0, 0);
    pusher->startPush(server.url().c_str());
    ASSERT_TRUE(own.events.waitFor("first frame pushed")) << round;
    pusher->stopPush();
    ASSERT_TRUE(own.events.waitFor("push stopped"));
    pusher->stopPreview();
    LumoLivePusher::destroy();
  }
  const test::ProcessUsage after = test::processUsage();
  RecordProperty("heapKiBGrowth", static_cast<int>(after.heapKiB - before.heapKiB));
  EXPECT_LE(after.threads, before.threads);
  EXPECT_LE(after.descriptors, before.descriptors);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  // Sanitizers have their own allocators, which are not counted here. GLib's caches grow by about
  // 300 KiB; fifty leaked frames of this size would be 4 MiB.
  EXPECT_LE(after.heapKiB, before.heapKiB + 1024);
#endif
}

}  // namespace
}  // namespace NimboEngine

// A push from the encoder to a real server, without capture: the test generates the media.

#include "publish/publisher.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <optional>

#include "gst/runtime.h"
#include "support/event_log.h"
#include "support/media_feeder.h"
#include "support/rtmp_server.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;
using test::EventLog;
using test::MediaFeeder;
using test::RtmpServer;

constexpr const char* kReportNames[] = {
    "none",          "started",          "connect failed",  "reconnecting",
    "reconnected",   "reconnect failed", "connection lost", "stopped",
    "encoder failed"};
constexpr const char* kNetworkEventNames[] = {"poor",         "recovery",       "reconnect start",
                                              "lost",         "reconnect fail", "reconnected",
                                              "send timeout", "connect fail",   "overdue",
                                              "send message", "packets lost"};

class PublisherTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { startGstreamer(); }

  ~PublisherTest() override {
    feeder_.reset();
    engine_.run([this] { publisher_.reset(); });
  }

  void start(const std::string& url) {
    const auto target = parsePushUrl(url.c_str());
    ASSERT_TRUE(target) << target.error().text;
    engine_.run([&] {
      publisher_ = std::make_unique<Publisher>(
          engine_, settings, network,
          Publisher::Events{.onReport =
                                [this](const PushOutcome& outcome) {
                                  code = outcome.code;
                                  events.add(kReportNames[static_cast<int>(outcome.report)]);
                                },
                            .onFirstFrame = [this] { events.add("first frame"); },
                            .onNetworkEvent =
                                [this](NetworkEvent event) {
                                  events.add(kNetworkEventNames[static_cast<int>(event)]);
                                }});
      publisher_->start(*target);
    });
    feeder_.emplace(*publisher_, settings.video, settings.audio);
  }

  void stop() {
    engine_.run([this] { publisher_->stop(); });
  }

  // Returns the error code of a push to `url`.
  LumoLiveErrorCode failureOf(const std::string& url) {
    start(url);
    EXPECT_TRUE(events.waitFor("connect failed")) << testing::PrintToString(events.all());
    EXPECT_EQ(events.count("started"), 0);
    return code;
  }

  EncoderSettings settings{
      .video = {320, 180, 30}, .audio = {48000, 2}, .videoKbps = 300, .gopSeconds = 1};
  NetworkSettings network{.reconnect = {.maxAttempts = 0}};
  EventLog events;
  LumoLiveErrorCode code =
      kLumoLiveErrorNone;  // of the last report; read it after waiting for that

 private:
  EngineThread engine_{"test-engine"};
  std::unique_ptr<Publisher> publisher_;
  std::optional<MediaFeeder> feeder_;
};

TEST_F(PublisherTest, PublishesVideoAndAudio) {
  const RtmpServer server;
  start(server.url());
  ASSERT_TRUE(events.waitFor("first frame"));
  const std::string seen = test::probe(server.url());
  EXPECT_NE(seen.find("codec_name=h264|width=320|height=180|r_frame_rate=30/1"), std::string::npos)
      << seen;
  EXPECT_NE(seen.find("codec_name=aac|sample_rate=48000|channels=2"), std::string::npos) << seen;
  stop();
  ASSERT_TRUE(events.waitFor("stopped"));
  EXPECT_EQ(events.all(),
            (std::vector<std::string>{"started", "send message", "first frame", "stopped"}));
}

TEST_F(PublisherTest, OddSizesLoseTheLastColumnAndRow) {
  const RtmpServer server;
  settings.video = {321, 181, 15};
  start(server.url());
  ASSERT_TRUE(events.waitFor("first frame"));
  EXPECT_NE(test::probe(server.url()).find("width=320|height=180"), std::string::npos);
}

TEST_F(PublisherTest, PublishesAudioAlone) {
  const RtmpServer server;
  settings.audioOnly = true;
  settings.audio = {44100, 1};
  start(server.url());
  ASSERT_TRUE(events.waitFor("first frame"));
  const std::string seen = test::probe(server.url());
  EXPECT_NE(seen.find("codec_name=aac|sample_rate=44100|channels=1"), std::string::npos) << seen;
  EXPECT_EQ(seen.find("h264"), std::string::npos) << seen;
}

TEST_F(PublisherTest, NoServerListens) {
  const std::string url = "rtmp://127.0.0.1:" + std::to_string(test::freePort()) + "/live/s";
  EXPECT_EQ(failureOf(url), kLumoLiveErrorConnectRefused);
}

TEST_F(PublisherTest, UnknownHost) {
  EXPECT_EQ(failureOf("rtmp://no-such-host.invalid/live/s"), kLumoLiveErrorHostNotFound);
}

TEST_F(PublisherTest, UnknownApplication) {
  const RtmpServer server;
  EXPECT_EQ(failureOf(server.url("unknown")), kLumoLiveErrorPublishRejected);
}

TEST_F(PublisherTest, ServerDenies) {
  const RtmpServer server;
  EXPECT_EQ(failureOf(server.url("denied")), kLumoLiveErrorPublishRejected);
}

TEST_F(PublisherTest, AuthorisationForbids) {
  const RtmpServer server;
  EXPECT_EQ(failureOf(server.url("forbidden")), kLumoLiveErrorPublishDenied);
  EXPECT_EQ(events.all(), (std::vector<std::string>{"overdue", "connect failed"}));
}

// A server that accepts the connection and then sends nothing.
TEST_F(PublisherTest, SilentServer) {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), size), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  EXPECT_EQ(failureOf("rtmp://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/live/s"),
            kLumoLiveErrorConnectTimeout);
  close(listener);
}

TEST_F(PublisherTest, ServerDies) {
  RtmpServer server;
  start(server.url());
  ASSERT_TRUE(events.waitFor("first frame"));
  server.kill();
  ASSERT_TRUE(events.waitFor("connection lost"));
  EXPECT_EQ(code, kLumoLiveErrorConnectionLost);
}

// A frozen server is only detected by limits on the socket: otherwise the kernel would buffer the
// stream for minutes.
TEST_F(PublisherTest, FrozenServerIsDetected) {
  RtmpServer server;
  settings.videoKbps = 2000;
  start(server.url());
  ASSERT_TRUE(events.waitFor("first frame"));
  server.freeze();
  EXPECT_TRUE(events.waitFor("connection lost"));
  EXPECT_EQ(events.count("send timeout"), 1);
  EXPECT_EQ(events.count("poor"), 1);
  server.thaw();
}

TEST_F(PublisherTest, GivesUpAfterTheLastAttempt) {
  network.reconnect = {.maxAttempts = 3, .firstDelay = 10ms, .maxDelay = 20ms};
  RtmpServer server;
  start(server.url());
  ASSERT_TRUE(events.waitFor("first frame"));
  server.kill();
  ASSERT_TRUE(events.waitFor("reconnect failed"));
  EXPECT_EQ(code, kLumoLiveErrorConnectionLost);
  EXPECT_EQ(events.count("reconnecting"), 1) << "once for a loss, not for each attempt";
  EXPECT_EQ(events.count("reconnected"), 0);
}

TEST_F(PublisherTest, StopsBetweenTwoAttempts) {
  network.reconnect = {.maxAttempts = 1, .firstDelay = 600s, .maxDelay = 600s};
  RtmpServer server;
  start(server.url());
  ASSERT_TRUE(events.waitFor("first frame"));
  server.kill();
  ASSERT_TRUE(events.waitFor("reconnecting"));
  stop();
  EXPECT_TRUE(events.waitFor("stopped", 1, 1s));
}

TEST_F(PublisherTest, StopsWhileTheServerIsFrozen) {
  RtmpServer server;
  start(server.url());
  ASSERT_TRUE(events.waitFor("first frame"));
  server.freeze();
  stop();
  EXPECT_TRUE(events.waitFor("stopped", 1, 1s)) << "a stop never waits for the network";
  server.thaw();
}

TEST_F(PublisherTest, StopsWhileConnecting) {
  RtmpServer server;
  server.freeze();
  start(server.url());
  stop();
  EXPECT_TRUE(events.waitFor("stopped", 1, 1s));
  EXPECT_EQ(events.all(), std::vector<std::string>{"stopped"});
  server.thaw();
}

}  // namespace
}  // namespace NimboEngine

#include "publish/rtmp_connection.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>

#include "gst/runtime.h"
#include "publish/protocol.h"
#include "support/event_log.h"
#include "support/loopback_peer.h"
#include "support/rtmp_script.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;
using test::Bytes;
using test::EventLog;
using test::joined;
using test::LoopbackPeer;
using test::PeerStream;
using test::RtmpScript;
using test::RtmpTranscript;

TEST(PublishErrorCode, OfEachFailure) {
  struct Case {
    ConnectionError error;
    LumoLiveErrorCode code;
  };
  const Case cases[] = {
      {ConnectionError::kHostNotFound, kLumoLiveErrorHostNotFound},
      {ConnectionError::kRefused, kLumoLiveErrorConnectRefused},
      {ConnectionError::kUnreachable, kLumoLiveErrorConnectTimeout},
      {ConnectionError::kTimeout, kLumoLiveErrorConnectTimeout},
      {ConnectionError::kTlsUntrusted, kLumoLiveErrorServerUntrusted},
      {ConnectionError::kTlsFailed, kLumoLiveErrorPublishRejected},
      {ConnectionError::kClosedByPeer, kLumoLiveErrorPublishRejected},
      {ConnectionError::kProtocolViolation, kLumoLiveErrorPublishRejected},
      {ConnectionError::kConnectRejected, kLumoLiveErrorPublishRejected},
      {ConnectionError::kAuthenticationNeeded, kLumoLiveErrorPublishDenied},
      {ConnectionError::kPublishDenied, kLumoLiveErrorPublishDenied},
      {ConnectionError::kPublishRejected, kLumoLiveErrorPublishRejected},
      {ConnectionError::kNameInUse, kLumoLiveErrorStreamNameInUse},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(publishErrorCode(each.error), each.code) << nameOf(each.error);
  }
}

class RtmpConnectionTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { startGstreamer(); }

  ~RtmpConnectionTest() override {
    engine.run([this] { connection.reset(); });
  }

  void open(int port) {
    const std::string text = fmt::format("rtmp://127.0.0.1:{}/live/s", port);
    const auto url = parsePushUrl(text.c_str());
    engine.run([&] {
      connection = url->protocol->connect(engine, *url,
                                          {.onAccepted = [this] { events.add("accepted"); },
                                           .onFailed =
                                               [this](LumoLiveErrorCode why, const std::string&) {
                                                 code = why;
                                                 events.add("failed");
                                               },
                                           .onDrained = [this] { events.add("drained"); }});
      connection->open();
    });
  }

  EventLog events;
  std::optional<LumoLiveErrorCode> code;
  std::unique_ptr<Connection> connection;
  EngineThread engine{"test-engine"};
};

// An FLV tag of `type` around `body`.
GstPtr<GstBuffer> tagOf(uint8_t type, uint32_t time, const Bytes& body) {
  const auto size = static_cast<uint8_t>(body.size());
  const Bytes tag =
      joined({{type, 0, 0, size, static_cast<uint8_t>(time >> 16), static_cast<uint8_t>(time >> 8),
               static_cast<uint8_t>(time), static_cast<uint8_t>(time >> 24), 0, 0, 0},
              body,
              {0, 0, 0, static_cast<uint8_t>(size + 11)}});
  return GstPtr<GstBuffer>(gst_buffer_new_memdup(tag.data(), tag.size()));
}

TEST_F(RtmpConnectionTest, SendsTheBodiesOfTags) {
  RtmpTranscript transcript;
  std::atomic<bool> read = false;
  const LoopbackPeer peer([&](PeerStream& stream) {
    RtmpScript script;
    stream.send(script.accepted("NetStream.Publish.Start"));
    for (Bytes bytes; !(bytes = stream.receiveSome()).empty();) transcript.read(bytes);
    read = true;
    read.notify_one();
  });
  open(peer.port());
  ASSERT_TRUE(events.waitFor("accepted"));
  Bytes metadata;
  AmfWriter(metadata).string("onMetaData").beginObject().endObject();
  connection->send(tagOf(18, 0, metadata));
  connection->send(tagOf(9, 0x01020304, {0x17, 1, 2, 3}));
  connection->send(tagOf(8, 40, {0xaf, 1, 5}));
  connection->send(GstPtr<GstBuffer>(gst_buffer_new_memdup("short", 5)));
  engine.run([this] { connection->finish(); });
  ASSERT_TRUE(events.waitFor("drained"));
  read.wait(false);
  const auto data = transcript.all(RtmpType::kData);
  ASSERT_EQ(data.size(), 1u);
  ASSERT_GE(data[0].values.size(), 3u);
  EXPECT_EQ(data[0].values[0].string, "@setDataFrame");
  EXPECT_EQ(data[0].values[1].string, "onMetaData");
  const auto video = transcript.all(RtmpType::kVideo);
  ASSERT_EQ(video.size(), 1u);
  EXPECT_EQ(video[0].timestamp, 0x01020304u);
  EXPECT_EQ(video[0].body, (Bytes{0x17, 1, 2, 3}));
  const auto audio = transcript.all(RtmpType::kAudio);
  ASSERT_EQ(audio.size(), 1u);
  EXPECT_EQ(audio[0].body, (Bytes{0xaf, 1, 5}));
}

// An acceptance that is followed by closing does not count.
TEST_F(RtmpConnectionTest, AcceptedAndClosedIsRefused) {
  const LoopbackPeer peer([](PeerStream& stream) {
    RtmpScript script;
    stream.send(script.accepted("NetStream.Publish.Start"));
  });
  open(peer.port());
  ASSERT_TRUE(events.waitFor("failed"));
  EXPECT_EQ(code, kLumoLiveErrorPublishRejected);
  EXPECT_EQ(events.count("accepted"), 0);
}

TEST_F(RtmpConnectionTest, EverythingAfterAcceptanceIsALoss) {
  RtmpScript script;
  std::atomic<bool> accepted = false;
  const LoopbackPeer peer([&](PeerStream& stream) {
    stream.send(script.accepted("NetStream.Publish.Start"));
    accepted.wait(false);
    stream.send(script.status("NetStream.Publish.BadName", "error"));
    stream.receiveAll();
  });
  open(peer.port());
  ASSERT_TRUE(events.waitFor("accepted"));
  accepted = true;
  accepted.notify_one();
  ASSERT_TRUE(events.waitFor("failed"));
  EXPECT_EQ(code, kLumoLiveErrorConnectionLost);
}

TEST_F(RtmpConnectionTest, DrainingDoesNotWaitForAFrozenServer) {
  std::atomic<bool> ending = false;
  const LoopbackPeer peer([&](PeerStream& stream) {
    RtmpScript script;
    stream.send(script.accepted("NetStream.Publish.Start"));
    ending.wait(false);
  });
  open(peer.port());
  ASSERT_TRUE(events.waitFor("accepted"));
  Bytes large(200'000, 0);
  large[0] = 9;
  for (int i = 0; i < 100; ++i) {
    connection->send(GstPtr<GstBuffer>(gst_buffer_new_memdup(large.data(), large.size())));
  }
  const auto begin = std::chrono::steady_clock::now();
  engine.run([this] { connection->finish(); });
  ASSERT_TRUE(events.waitFor("drained"));
  engine.run([this] { connection.reset(); });
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
  ending = true;
  ending.notify_one();
}

}  // namespace
}  // namespace NimboEngine

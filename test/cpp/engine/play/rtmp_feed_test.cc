#include "play/rtmp_feed.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

#include "gst/runtime.h"
#include "support/event_log.h"
#include "support/loopback_peer.h"
#include "support/rtmp_script.h"

namespace NimboEngine {
namespace {

using test::Bytes;
using test::EventLog;
using test::joined;
using test::LoopbackPeer;
using test::PeerStream;
using test::RtmpScript;

class RtmpFeedTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { startGstreamer(); }

  void begin(int port) {
    feed = std::make_unique<RtmpFeed>(
        *parseRtmpUrl(fmt::format("rtmp://127.0.0.1:{}/live/s", port)),
        RtmpFeed::Events{.onAnswered = [this] { events.add("answered"); },
                         .onTag =
                             [this](const GstPtr<GstBuffer>& tag) {
                               Bytes bytes(gst_buffer_get_size(tag.get()));
                               gst_buffer_extract(tag.get(), 0, bytes.data(), bytes.size());
                               tags.push_back(std::move(bytes));
                               received = tags.size();
                               received.notify_one();
                             },
                         .onEnded =
                             [this](ConnectionError error, const std::string&) {
                               ended = error;
                               events.add("ended");
                             }});
  }

  EventLog events;
  std::vector<Bytes> tags;
  std::atomic<std::size_t> received = 0;  // as many as there are tags
  std::optional<ConnectionError> ended;
  std::unique_ptr<RtmpFeed> feed;
};

TEST_F(RtmpFeedTest, DeliversFlv) {
  const LoopbackPeer peer([](PeerStream& stream) {
    RtmpScript script;
    Bytes metadata;
    AmfWriter(metadata).string("onMetaData").null();
    stream.send(
        joined({script.accepted("NetStream.Play.Start"), script.message(RtmpType::kData, metadata),
                script.message(RtmpType::kVideo, Bytes{0x17, 1}, 0x01020304),
                script.message(RtmpType::kAudio, Bytes(), 7),
                script.status("NetStream.Play.UnpublishNotify")}));
    stream.receiveAll();
  });
  begin(peer.port());
  ASSERT_TRUE(events.waitFor("ended"));
  EXPECT_EQ(ended, ConnectionError::kStreamEnded);
  EXPECT_EQ(events.all(), (std::vector<std::string>{"answered", "ended"}));
  ASSERT_EQ(tags.size(), 4u);
  EXPECT_EQ(tags[0], (Bytes{'F', 'L', 'V', 1, 5, 0, 0, 0, 9, 0, 0, 0, 0}));
  EXPECT_EQ(tags[1][0], 18);
  EXPECT_EQ(tags[2], (Bytes{9, 0, 0, 2, 2, 3, 4, 1, 0, 0, 0, 0x17, 1, 0, 0, 0, 13}));
  EXPECT_EQ(tags[3], (Bytes{8, 0, 0, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 11}));
}

TEST_F(RtmpFeedTest, AMissingStreamIsAnError) {
  const LoopbackPeer peer([](PeerStream& stream) {
    RtmpScript script;
    stream.send(joined({RtmpScript::handshake(), script.connectAccepted(), script.streamCreated(),
                        script.status("NetStream.Play.StreamNotFound", "error")}));
    stream.receiveAll();
  });
  begin(peer.port());
  ASSERT_TRUE(events.waitFor("ended"));
  EXPECT_EQ(ended, ConnectionError::kStreamNotFound);
  EXPECT_TRUE(tags.empty());
}

TEST_F(RtmpFeedTest, CanBeStoppedAndDestroyedWhileReceiving) {
  const LoopbackPeer peer([](PeerStream& stream) {
    RtmpScript script;
    stream.send(script.accepted("NetStream.Play.Start"));
    const Bytes message = script.message(RtmpType::kVideo, Bytes(10'000, 1));
    while (stream.send(message)) {
    }
  });
  begin(peer.port());
  for (std::size_t count = 0; count < 100; count = received) received.wait(count);
  feed->stop();
  feed.reset();
  EXPECT_FALSE(ended);
  EXPECT_GE(tags.size(), 100u);
}

}  // namespace
}  // namespace NimboEngine

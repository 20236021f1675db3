// The client against scripted servers on loopback, friendly and hostile ones.

#include "rtmp/rtmp_client.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <set>

#include "gst/runtime.h"
#include "net/certificate_authorities.h"
#include "rtmp/rtmp_url.h"
#include "support/event_log.h"
#include "support/loopback_peer.h"
#include "support/process_usage.h"
#include "support/rtmp_script.h"
#include "support/rtmp_server.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::EventLog;
using test::joined;
using test::LoopbackPeer;
using test::PeerStream;
using test::RtmpScript;
using test::RtmpTranscript;

// A certificate and its folder.
class Certificate {
 public:
  explicit Certificate(const std::string& alternativeName) {
    folder_ = std::filesystem::temp_directory_path() / "nimbo-tls-XXXXXX";
    EXPECT_NE(mkdtemp(folder_.data()), nullptr);
    file_ = test::makeCertificate(folder_, alternativeName);
  }
  ~Certificate() { std::filesystem::remove_all(folder_); }
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;

  const std::string& file() const { return file_; }

 private:
  std::string folder_;
  std::string file_;
};

class RtmpClientTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { startGstreamer(); }
  // The trusted files have been removed: back to the system's.
  static void TearDownTestSuite() {
    g_tls_backend_set_default_database(g_tls_backend_get_default(), nullptr);
  }

  void connect(RtmpRole role, int port, std::chrono::milliseconds timeout = 10s,
               const char* scheme = "rtmp") {
    const auto url = parseRtmpUrl(fmt::format("{}://127.0.0.1:{}/live/s", scheme, port));
    client = std::make_unique<RtmpClient>(
        role, *url,
        RtmpClient::Events{.onConnected = [this] { events.add("connected"); },
                           .onStarted = [this] { events.add("started"); },
                           .onMedia =
                               [this](const RtmpMessage& message) {
                                 if (onMedia) onMedia(message);
                                 events.add("media");
                               },
                           .onEnded =
                               [this](const ConnectionFailure& failure) {
                                 ended = failure;
                                 events.add("ended");
                               },
                           .onFinished = [this] { events.add("finished"); }},
        timeout);
  }

  // Returns how a connection to a server that runs `talk` ends.
  ConnectionFailure failureWith(const LoopbackPeer::Talk& talk,
                                std::chrono::milliseconds timeout = 10s,
                                RtmpRole role = RtmpRole::kPublish) {
    const LoopbackPeer peer(talk);
    connect(role, peer.port(), timeout);
    EXPECT_TRUE(events.waitFor("ended"));
    destroy();
    return ended.value_or(ConnectionFailure{});
  }

  // Returns how long it takes.
  std::chrono::milliseconds destroy() {
    const auto begin = std::chrono::steady_clock::now();
    client.reset();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 begin);
  }

  void sendFrame(std::size_t size, uint32_t timestamp = 0) {
    client->send(RtmpType::kVideo, timestamp,
                 GstPtr<GstBuffer>(gst_buffer_new_allocate(nullptr, size, nullptr)), 0, size);
  }

  std::function<void(const RtmpMessage&)> onMedia;
  EventLog events;
  std::optional<ConnectionFailure> ended;
  std::unique_ptr<RtmpClient> client;  // ends first: its thread uses the rest
};

// Serves a client up to an accepted stream.
void accept(PeerStream& stream, const char* code) {
  RtmpScript script;
  stream.send(script.accepted(code));
}

constexpr char kPublishStart[] = "NetStream.Publish.Start";
constexpr char kPlayStart[] = "NetStream.Play.Start";

TEST_F(RtmpClientTest, PublishesAndFinishes) {
  RtmpTranscript transcript;
  std::promise<void> read;
  const LoopbackPeer peer([&](PeerStream& stream) {
    accept(stream, kPublishStart);
    for (Bytes bytes; !(bytes = stream.receiveSome()).empty();) transcript.read(bytes);
    read.set_value();
  });
  connect(RtmpRole::kPublish, peer.port());
  ASSERT_TRUE(events.waitFor("started"));
  constexpr int kFrames = 200;
  for (uint32_t i = 0; i < kFrames; ++i) sendFrame(20'000, 40 * i);
  client->finish();
  ASSERT_TRUE(events.waitFor("finished"));
  EXPECT_EQ(client->backlog(), 0u);
  EXPECT_GT(client->acknowledged(), kFrames * 20'000u);
  read.get_future().wait();
  EXPECT_EQ(transcript.all(RtmpType::kVideo).size(), std::size_t{kFrames});
  EXPECT_EQ(transcript.commands().back(), "deleteStream");
  EXPECT_FALSE(ended);
}

TEST_F(RtmpClientTest, SendsPartOfABuffer) {
  RtmpTranscript transcript;
  std::promise<void> read;
  const LoopbackPeer peer([&](PeerStream& stream) {
    accept(stream, kPublishStart);
    for (Bytes bytes; !(bytes = stream.receiveSome()).empty();) transcript.read(bytes);
    read.set_value();
  });
  connect(RtmpRole::kPublish, peer.port());
  ASSERT_TRUE(events.waitFor("started"));
  const Bytes whole = {9, 8, 7, 6, 5};
  client->send(RtmpType::kAudio, 77,
               GstPtr<GstBuffer>(gst_buffer_new_memdup(whole.data(), whole.size())), 1, 3);
  client->finish();
  ASSERT_TRUE(events.waitFor("finished"));
  read.get_future().wait();
  const auto sent = transcript.all(RtmpType::kAudio);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].body, (Bytes{8, 7, 6}));
  EXPECT_EQ(sent[0].timestamp, 77u);
}

TEST_F(RtmpClientTest, PlaysABurstAndThenTheEnd) {
  constexpr int kFrames = 500;
  const LoopbackPeer peer([](PeerStream& stream) {
    RtmpScript script;
    Bytes all = script.accepted(kPlayStart);
    for (uint32_t i = 0; i < kFrames; ++i) {
      all = joined({all, script.message(RtmpType::kVideo, Bytes(3000, 1), 40 * i)});
    }
    all = joined({all, script.status("NetStream.Play.UnpublishNotify")});
    stream.send(all);
    stream.receiveAll();
  });
  connect(RtmpRole::kPlay, peer.port());
  ASSERT_TRUE(events.waitFor("ended"));
  EXPECT_EQ(events.count("media"), kFrames);
  EXPECT_EQ(ended->code, ConnectionError::kStreamEnded);
}

// The server's writing stops and continues with the handler.
TEST_F(RtmpClientTest, ABlockedHandlerStopsTheServer) {
  constexpr std::size_t kBody = 100'000;
  std::atomic<std::size_t> sent = 0;
  const LoopbackPeer peer([&](PeerStream& stream) {
    RtmpScript script;
    stream.send(script.accepted(kPlayStart));
    const Bytes message = script.message(RtmpType::kVideo, Bytes(kBody, 1));
    while (stream.send(message)) ++sent;
  });
  std::promise<void> release;
  auto released = release.get_future().share();
  onMedia = [released](const RtmpMessage&) { released.wait(); };
  connect(RtmpRole::kPlay, peer.port());
  // Loopback's buffers take a few megabytes at most.
  std::size_t before = SIZE_MAX;
  while (sent != std::exchange(before, sent)) std::this_thread::sleep_for(200ms);
  EXPECT_LT(sent * kBody, 64u << 20);
  release.set_value();
  ASSERT_TRUE(events.waitFor("media", static_cast<std::ptrdiff_t>(before + 5)));
}

// ----------------------------------------------------------------------------------- hostile peers

TEST_F(RtmpClientTest, ConnectFailures) {
  connect(RtmpRole::kPublish, test::freePort());
  ASSERT_TRUE(events.waitFor("ended"));
  EXPECT_EQ(ended->code, ConnectionError::kRefused);
  ConnectionFailure failure;
  {
    std::promise<void> done;
    const RtmpClient unknown(RtmpRole::kPlay, *parseRtmpUrl("rtmp://no-such-host.invalid/a/s"),
                             {.onConnected = {},
                              .onStarted = {},
                              .onMedia = {},
                              .onEnded =
                                  [&](const ConnectionFailure& why) {
                                    failure = why;
                                    done.set_value();
                                  },
                              .onFinished = {}});
    done.get_future().wait();
  }
  EXPECT_EQ(failure.code, ConnectionError::kHostNotFound);
}

TEST_F(RtmpClientTest, HostilePeers) {
  struct Case {
    const char* name;
    LoopbackPeer::Talk talk;
    ConnectionError error;
  };
  const Case cases[] = {
      {"silent", [](PeerStream& s) { s.receiveAll(); }, ConnectionError::kTimeout},
      {"half a handshake",
       [](PeerStream& s) {
         const Bytes all = RtmpScript::handshake();
         s.send(std::span(all).first(1000));
         s.receiveAll();
       },
       ConnectionError::kTimeout},
      {"no data after the handshake",
       [](PeerStream& s) {
         s.send(RtmpScript::handshake());
         s.receiveAll();
       },
       ConnectionError::kTimeout},
      {"connected, then no data",
       [](PeerStream& s) {
         s.send(joined({RtmpScript::handshake(), RtmpScript().connectAccepted()}));
         s.receiveAll();
       },
       ConnectionError::kTimeout},
      {"closed at once", [](PeerStream&) {}, ConnectionError::kClosedByPeer},
      {"reset",
       [](PeerStream& s) {
         s.receive(100);
         s.resetOnClose();
       },
       ConnectionError::kClosedByPeer},
      {"garbage", [](PeerStream& s) { s.send(Bytes(1'000'000, 'G')); },
       ConnectionError::kProtocolViolation},
      {"garbage behind the handshake",
       [](PeerStream& s) {
         s.send(joined({RtmpScript::handshake(), Bytes(1'000'000, 0x9c)}));
       },
       ConnectionError::kProtocolViolation},
      {"refused, and kept open",
       [](PeerStream& s) {
         s.send(joined({RtmpScript::handshake(),
                        RtmpScript().refused(1, "NetConnection.Connect.Rejected", "no")}));
         s.receiveAll();
       },
       ConnectionError::kConnectRejected},
      {"accepted, then reset",
       [](PeerStream& s) {
         accept(s, kPublishStart);
         // By then the client has read at least the creation of the stream.
         RtmpTranscript transcript;
         while (!transcript.find("publish")) transcript.read(s.receiveSome());
         s.resetOnClose();
       },
       ConnectionError::kClosedByPeer},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    events.clear();
    const ConnectionFailure failure = failureWith(each.talk, 300ms);
    EXPECT_EQ(nameOf(failure.code), nameOf(each.error));
    EXPECT_NE(failure.text, "");
  }
}

TEST_F(RtmpClientTest, AHandshakeByteByByte) {
  const LoopbackPeer peer([](PeerStream& stream) {
    RtmpScript script;
    for (const uint8_t byte : script.accepted(kPlayStart)) stream.send(std::span(&byte, 1));
    stream.receiveAll();
  });
  connect(RtmpRole::kPlay, peer.port());
  EXPECT_TRUE(events.waitFor("started"));
}

// The server neither reads the responses nor stops sending pings.
TEST_F(RtmpClientTest, AFloodOfPings) {
  std::atomic<int> sent = 0;
  const LoopbackPeer peer([&](PeerStream& stream) {
    RtmpScript script;
    stream.send(script.accepted(kPublishStart));
    Bytes pings;
    for (uint32_t i = 0; i < 1000; ++i) pings = joined({pings, script.ping(i)});
    while (stream.send(pings)) ++sent;
  });
  connect(RtmpRole::kPublish, peer.port());
  ASSERT_TRUE(events.waitFor("started"));
  while (sent < 100) std::this_thread::yield();
  const auto before = test::processUsage();
  while (sent < 2000) std::this_thread::yield();
  EXPECT_LT(test::processUsage().heapKiB - before.heapKiB, 4 * 1024);
  EXPECT_LT(client->backlog(), 4u << 20);
  EXPECT_LT(destroy(), 1s);
}

// Media are still sent while the server sends pings.
TEST_F(RtmpClientTest, PingsDoNotStarveMedia) {
  RtmpTranscript transcript;
  std::atomic<bool> flooding = true;
  std::promise<void> got;
  const LoopbackPeer peer([&](PeerStream& stream) {
    RtmpScript script;
    stream.send(script.accepted(kPublishStart));
    Bytes pings;
    for (uint32_t i = 0; i < 1000; ++i) pings = joined({pings, script.ping(i)});
    std::thread flood([&] {
      while (flooding && stream.send(pings)) {
      }
    });
    while (transcript.all(RtmpType::kVideo).empty()) {
      const Bytes bytes = stream.receiveSome();
      if (bytes.empty()) break;
      transcript.read(bytes);
    }
    flooding = false;
    flood.join();
    got.set_value();
    stream.receiveAll();
  });
  connect(RtmpRole::kPublish, peer.port());
  ASSERT_TRUE(events.waitFor("started"));
  sendFrame(1000);
  EXPECT_EQ(got.get_future().wait_for(10s), std::future_status::ready);
}

TEST_F(RtmpClientTest, AFrozenServerFillsTheBacklog) {
  std::promise<void> thaw;
  auto thawed = thaw.get_future().share();
  const LoopbackPeer peer([&](PeerStream& stream) {
    accept(stream, kPublishStart);
    thawed.wait();
  });
  connect(RtmpRole::kPublish, peer.port());
  ASSERT_TRUE(events.waitFor("started"));
  constexpr std::size_t kFrame = 100'000;
  constexpr std::size_t kFrames = 200;
  for (std::size_t i = 0; i < kFrames; ++i) sendFrame(kFrame);
  // Data beyond its and this system's buffers stay queued here and are visible.
  EXPECT_GT(client->backlog(), kFrame * kFrames / 2);
  EXPECT_LT(destroy(), 1s);
  thaw.set_value();
}

TEST_F(RtmpClientTest, NothingIsRaisedOnceStopped) {
  std::promise<void> connected;
  const LoopbackPeer peer([&](PeerStream& stream) {
    accept(stream, kPlayStart);
    connected.set_value();
    stream.receiveAll();
  });
  connect(RtmpRole::kPlay, peer.port());
  connected.get_future().wait();
  client->stop();
  const auto before = events.all();
  EXPECT_LT(destroy(), 1s);
  EXPECT_FALSE(ended);
  // One that had begun when stop() was called may have ended afterwards.
  EXPECT_LE(events.all().size(), before.size() + 1);
}

// However early a connection is stopped, it leaks nothing.
TEST_F(RtmpClientTest, StoppedEarlyItLeaksNothing) {
  const test::RtmpServer server;
  const LoopbackPeer silent([](PeerStream& stream) { stream.receiveAll(); });
  const int ports[] = {silent.port(), server.port()};
  const auto stopEarly = [&](int port, int times) {
    for (int i = 0; i < times; ++i) {
      connect(i % 2 == 0 ? RtmpRole::kPublish : RtmpRole::kPlay, port);
      std::this_thread::sleep_for(std::chrono::milliseconds(60 * i / times));
      client->stop();
      EXPECT_LT(destroy(), 200ms);
    }
  };
  for (const int port : ports) stopEarly(port, 5);
  const auto before = test::processUsage();
  for (const int port : ports) stopEarly(port, 50);
  // The silent peer's ends are in this process, too, and close a moment later.
  auto after = test::processUsage();
  for (int i = 0; i < 100 && after.descriptors > before.descriptors; ++i) {
    std::this_thread::sleep_for(10ms);
    after = test::processUsage();
  }
  EXPECT_LE(after.descriptors, before.descriptors);
}

// Descriptors that a child process would inherit.
std::set<int> inheritedDescriptors() {
  std::set<int> inherited;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename());
    const int flags = fcntl(descriptor, F_GETFD);
    if (flags >= 0 && (flags & FD_CLOEXEC) == 0) inherited.insert(descriptor);
  }
  return inherited;
}

TEST_F(RtmpClientTest, NothingIsInherited) {
  const LoopbackPeer peer([](PeerStream& stream) {
    accept(stream, kPlayStart);
    stream.receiveAll();
  });
  const auto before = inheritedDescriptors();
  connect(RtmpRole::kPlay, peer.port());
  ASSERT_TRUE(events.waitFor("started"));
  EXPECT_EQ(inheritedDescriptors(), before);
}

// --------------------------------------------------------------------------------------------- TLS

TEST_F(RtmpClientTest, UntrustedCertificates) {
  const Certificate trusted("IP:127.0.0.1");
  const Certificate stranger("IP:127.0.0.1");
  const Certificate otherHost("DNS:other.invalid");
  struct Case {
    const char* presented;
    const char* trust;
    const char* text;
  };
  const Case cases[] = {
      {stranger.file().c_str(), trusted.file().c_str(), "authority"},
      {otherHost.file().c_str(), otherHost.file().c_str(), "another host"},
  };
  for (const Case& each : cases) {
    ASSERT_TRUE(trustCertificates(each.trust));
    const LoopbackPeer peer([](PeerStream& stream) { stream.receiveAll(); }, each.presented);
    events.clear();
    connect(RtmpRole::kPublish, peer.port(), 10s, "rtmps");
    ASSERT_TRUE(events.waitFor("ended"));
    destroy();
    EXPECT_EQ(nameOf(ended->code), nameOf(ConnectionError::kTlsUntrusted));
    EXPECT_NE(ended->text.find(each.text), std::string::npos) << ended->text;
  }
}

TEST_F(RtmpClientTest, PublishesOverTls) {
  const Certificate certificate("IP:127.0.0.1");
  ASSERT_TRUE(trustCertificates(certificate.file()));
  RtmpTranscript transcript;
  std::promise<void> begin;
  auto begun = begin.get_future().share();
  std::promise<void> read;
  const LoopbackPeer peer(
      [&](PeerStream& stream) {
        accept(stream, kPublishStart);
        begun.wait();
        for (Bytes bytes; !(bytes = stream.receiveSome()).empty();) transcript.read(bytes);
        read.set_value();
      },
      certificate.file());
  connect(RtmpRole::kPublish, peer.port(), 10s, "rtmps");
  ASSERT_TRUE(events.waitFor("started"));
  // More than fits into the buffers, so that writing is interrupted and resumed.
  constexpr std::size_t kFrame = 150'000;
  constexpr std::size_t kFrames = 100;
  for (std::size_t i = 0; i < kFrames; ++i) sendFrame(kFrame, static_cast<uint32_t>(i));
  EXPECT_GT(client->backlog(), kFrame * kFrames / 2);
  begin.set_value();
  client->finish();
  ASSERT_TRUE(events.waitFor("finished"));
  EXPECT_GT(client->acknowledged(), kFrame * kFrames);
  read.get_future().wait();
  const auto sent = transcript.all(RtmpType::kVideo);
  ASSERT_EQ(sent.size(), kFrames);
  for (const auto& frame : sent) EXPECT_EQ(frame.body.size(), kFrame);
}

TEST_F(RtmpClientTest, PlaysOverTls) {
  const Certificate certificate("IP:127.0.0.1");
  ASSERT_TRUE(trustCertificates(certificate.file()));
  const LoopbackPeer peer(
      [](PeerStream& stream) {
        RtmpScript script;
        Bytes all = script.accepted(kPlayStart);
        for (int i = 0; i < 100; ++i) {
          all = joined({all, script.message(RtmpType::kVideo, Bytes(20'000, 1))});
        }
        stream.send(all);
        stream.receiveAll();
      },
      certificate.file());
  connect(RtmpRole::kPlay, peer.port(), 10s, "rtmps");
  EXPECT_TRUE(events.waitFor("media", 100));
  EXPECT_LT(destroy(), 1s);
}

TEST_F(RtmpClientTest, AServerWithoutTls) {
  const Certificate certificate("IP:127.0.0.1");
  ASSERT_TRUE(trustCertificates(certificate.file()));
  const LoopbackPeer garbage([](PeerStream& s) {
    s.send(Bytes(10'000, 'G'));
    s.receiveAll();
  });
  connect(RtmpRole::kPlay, garbage.port(), 10s, "rtmps");
  ASSERT_TRUE(events.waitFor("ended"));
  EXPECT_EQ(nameOf(ended->code), nameOf(ConnectionError::kTlsFailed));
  destroy();
  events.clear();
  const LoopbackPeer silent([](PeerStream& s) { s.receiveAll(); });
  connect(RtmpRole::kPlay, silent.port(), 300ms, "rtmps");
  ASSERT_TRUE(events.waitFor("ended"));
  EXPECT_EQ(nameOf(ended->code), nameOf(ConnectionError::kTimeout)) << ended->text;
  connect(RtmpRole::kPlay, silent.port(), 10s, "rtmps");
  EXPECT_LT(destroy(), 1s) << "in the middle of TLS's handshake";
}

}  // namespace
}  // namespace NimboEngine

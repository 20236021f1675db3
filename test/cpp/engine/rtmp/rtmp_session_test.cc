// Both roles against a scripted server, without a network.

#include "rtmp/rtmp_session.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <optional>
#include <utility>

#include "rtmp/byte_order.h"
#include "support/rtmp_script.h"

namespace NimboEngine {
namespace {

using test::Bytes;
using test::joined;
using test::RtmpScript;
using test::RtmpTranscript;

struct Media {
  RtmpType type;
  uint32_t timestamp;
  Bytes body;
  bool operator==(const Media&) const = default;
};

class RtmpSessionTest : public testing::Test {
 protected:
  void begin(RtmpRole role, const char* address = "rtmp://host/app/inst/s?key=1") {
    session = std::make_unique<RtmpSession>(
        role, *parseRtmpUrl(address),
        RtmpSession::Events{
            .onConnected = [this] { ++timesConnected; },
            .onStarted = [this] { ++started; },
            .onMedia =
                [this](const RtmpMessage& m) {
                  media.push_back({m.type, m.timestamp, Bytes(m.body.begin(), m.body.end())});
                },
            .onEnded =
                [this](const ConnectionFailure& failure) {
                  EXPECT_FALSE(ended) << "once only";
                  ended = failure;
                }});
    session->start();
    transmit();
  }

  // Runs a session up to an accepted stream.
  void beginStarted(RtmpRole role) {
    begin(role);
    serve(RtmpScript::handshake());
    serve(script.connectAccepted());
    serve(script.streamCreated());
    serve(script.status(role == RtmpRole::kPublish ? "NetStream.Publish.Start"
                                                   : "NetStream.Play.Start"));
    ASSERT_EQ(started, 1);
  }

  void serve(const Bytes& bytes) {
    session->receive(bytes);
    transmit();
  }

  void transmit() {
    const auto output = session->output();
    client.read(output);
    session->consumeOutput(output.size());
  }

  std::optional<ConnectionError> error() const {
    return ended ? std::optional(ended->code) : std::nullopt;
  }

  // Returns the end of a session that receives `bytes` after the state `before`.
  std::optional<ConnectionError> errorAfter(RtmpRole role, const Bytes& before,
                                            const Bytes& bytes) {
    ended.reset();
    client = {};
    begin(role);
    serve(before);
    EXPECT_FALSE(ended) << ended->text;
    serve(bytes);
    if (ended) {
      EXPECT_NE(ended->text, "");
    }
    return error();
  }

  std::unique_ptr<RtmpSession> session;
  RtmpScript script;
  RtmpTranscript client;
  int timesConnected = 0;
  int started = 0;
  std::vector<Media> media;
  std::optional<ConnectionFailure> ended;
};

TEST_F(RtmpSessionTest, Publishes) {
  beginStarted(RtmpRole::kPublish);
  EXPECT_EQ(timesConnected, 1);
  EXPECT_EQ(client.commands(), (std::vector<std::string>{"connect", "releaseStream", "FCPublish",
                                                         "createStream", "publish"}));
  const AmfValue& connect = client.find("connect")->values.at(2);
  EXPECT_EQ(connect.textOf("app"), "app/inst");
  EXPECT_EQ(connect.textOf("tcUrl"), "rtmp://host/app/inst");
  EXPECT_EQ(connect.textOf("type"), "nonprivate");
  EXPECT_TRUE(connect.textOf("flashVer").starts_with("FMLE/"));
  ASSERT_NE(connect.find("fourCcList"), nullptr);
  EXPECT_EQ(connect.find("fourCcList")->elements.at(0).string, "av01");
  ASSERT_NE(connect.find("capsEx"), nullptr);
  const auto* publish = client.find("publish");
  EXPECT_EQ(publish->stream, 1u);
  EXPECT_EQ(publish->values.at(3).string, "s?key=1");
  EXPECT_EQ(publish->values.at(4).string, "live");

  const Bytes frame(10'000, 3);
  session->sendMedia(
      RtmpType::kVideo, 40, frame.size(), [&](std::size_t offset, std::span<uint8_t> target) {
        std::copy_n(frame.begin() + static_cast<long>(offset), target.size(), target.begin());
      });
  session->finish();
  transmit();
  const auto sent = client.all(RtmpType::kVideo);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].body, frame);
  EXPECT_EQ(sent[0].timestamp, 40u);
  EXPECT_EQ(sent[0].stream, 1u);
  EXPECT_EQ(client.find("FCUnpublish")->values.at(3).string, "s?key=1");
  EXPECT_EQ(client.find("deleteStream")->values.at(3).number, 1);
  EXPECT_FALSE(ended);
}

TEST_F(RtmpSessionTest, PlaysMediaOnAnyMessageStream) {
  beginStarted(RtmpRole::kPlay);
  EXPECT_EQ(client.commands(),
            (std::vector<std::string>{"connect", "createStream", "FCSubscribe", "play"}));
  EXPECT_EQ(client.find("play")->values.at(3).string, "s?key=1");
  const auto controls = client.all(RtmpType::kUserControl);
  ASSERT_EQ(controls.size(), 1u);
  EXPECT_EQ(controls[0].body, (Bytes{0, 3, 0, 0, 0, 1, 0, 0, 0x0b, 0xb8})) << "3000 ms";
  const Bytes body = {0x17, 1, 0, 0, 0, 9};
  for (const uint32_t stream : {0u, 1u, 7u}) {
    serve(script.message(RtmpType::kVideo, body, 40 * stream, stream));
  }
  serve(script.message(RtmpType::kAudio, body, 50, 0));
  EXPECT_EQ(media, (std::vector<Media>{{RtmpType::kVideo, 0, body},
                                       {RtmpType::kVideo, 40, body},
                                       {RtmpType::kVideo, 280, body},
                                       {RtmpType::kAudio, 50, body}}));
}

TEST_F(RtmpSessionTest, ByteByByte) {
  begin(RtmpRole::kPlay);
  const Bytes all = joined({script.accepted("NetStream.Play.Start"),
                            script.message(RtmpType::kAudio, Bytes(300, 1), 5)});
  for (const uint8_t byte : all) serve({byte});
  EXPECT_EQ(started, 1);
  EXPECT_EQ(media, (std::vector<Media>{{RtmpType::kAudio, 5, Bytes(300, 1)}}));
}

TEST_F(RtmpSessionTest, DataAreUnwrapped) {
  beginStarted(RtmpRole::kPlay);
  const auto onMetadata = [](AmfWriter& amf) {
    amf.string("onMetaData").beginObject().name("width").number(2).endObject();
  };
  Bytes plain;
  AmfWriter amf(plain);
  onMetadata(amf);
  serve(script.values(onMetadata, RtmpType::kData));
  serve(script.values(
      [&](AmfWriter& writer) {
        writer.string("@setDataFrame");
        onMetadata(writer);
      },
      RtmpType::kData));
  serve(script.message(RtmpType::kDataAmf3, joined({{0}, plain})));
  serve(script.values([](AmfWriter& writer) { writer.string("|RtmpSampleAccess").boolean(true); },
                      RtmpType::kData));
  serve(script.message(RtmpType::kData, Bytes{0x02, 0xff}));
  EXPECT_EQ(media, std::vector<Media>(3, {RtmpType::kData, 0, plain}));
  EXPECT_FALSE(ended);
}

TEST_F(RtmpSessionTest, AggregatesAreSplit) {
  beginStarted(RtmpRole::kPlay);
  const Bytes body = {8, 0, 0, 1, 0, 0, 10, 0, 0, 0, 0, 0xa, 0, 0, 0, 12,
                      9, 0, 0, 1, 0, 0, 30, 0, 0, 0, 0, 0xb, 0, 0, 0, 12};
  serve(script.message(RtmpType::kAggregate, body, 500));
  EXPECT_EQ(media,
            (std::vector<Media>{{RtmpType::kAudio, 500, {0xa}}, {RtmpType::kVideo, 520, {0xb}}}));
  serve(script.message(RtmpType::kAggregate, Bytes(20, 0xff), 500));
  EXPECT_EQ(error(), ConnectionError::kProtocolViolation);
}

TEST_F(RtmpSessionTest, CommandsMayComeAsAmf3) {
  begin(RtmpRole::kPlay);
  serve(RtmpScript::handshake());
  Bytes body = {0};
  AmfWriter(body).string("_result").number(1).null();
  serve(script.message(RtmpType::kCommandAmf3, body));
  EXPECT_EQ(timesConnected, 1);
  serve(script.message(RtmpType::kCommandAmf3, Bytes()));
  EXPECT_FALSE(ended);
}

TEST_F(RtmpSessionTest, CommandsWithoutAnswerAreIgnored) {
  beginStarted(RtmpRole::kPublish);
  serve(
      script.values([](AmfWriter& amf) { amf.string("onBWDone").number(0).null().number(8192); }));
  serve(script.values([](AmfWriter& amf) { amf.string("onFCPublish"); }));
  serve(script.refused(2, "NetConnection.Call.Failed"));
  serve(script.values([](AmfWriter& amf) { amf.string("_result").number(1e300).null(); }));
  serve(script.values([](AmfWriter& amf) { amf.string("_result").number(std::nan("")).null(); }));
  serve(script.streamCreated(9));
  serve(script.connectAccepted());
  serve(script.status("NetStream.Publish.Start"));
  serve(script.message(static_cast<RtmpType>(99), Bytes(4, 4)));
  serve(script.message(RtmpType::kVideo, Bytes(4, 4)));
  EXPECT_FALSE(ended);
  EXPECT_EQ(started, 1);
  EXPECT_TRUE(media.empty());
}

// --------------------------------------------------------------------------------------- refusals

TEST_F(RtmpSessionTest, RefusalsOfConnect) {
  struct Case {
    const char* code;
    const char* description;
    ConnectionError error;
  };
  const Case cases[] = {
      {"NetConnection.Connect.Rejected", "no", ConnectionError::kConnectRejected},
      {"NetConnection.Connect.InvalidApp", "", ConnectionError::kConnectRejected},
      {"", "", ConnectionError::kConnectRejected},
      {"NetConnection.Connect.Rejected", "[ code=403 need auth; authmod=adobe ]",
       ConnectionError::kAuthenticationNeeded},
      {"NetConnection.Connect.Rejected", "[ authmod=llnw ] : ?reason=needauth&user=u",
       ConnectionError::kAuthenticationNeeded},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(errorAfter(RtmpRole::kPublish, RtmpScript::handshake(),
                         script.refused(1, each.code, each.description)),
              each.error)
        << each.description;
    EXPECT_EQ(errorAfter(RtmpRole::kPlay, RtmpScript::handshake(),
                         script.status("NetConnection.Connect.Rejected", "error")),
              ConnectionError::kConnectRejected);
  }
  EXPECT_EQ(errorAfter(RtmpRole::kPlay, RtmpScript::handshake(),
                       script.values([](AmfWriter& amf) { amf.string("_error").number(1); })),
            ConnectionError::kConnectRejected);
}

TEST_F(RtmpSessionTest, RedirectsAreNotFollowed) {
  const Bytes redirect = script.values([](AmfWriter& amf) {
    amf.string("_error").number(1).null().beginObject().name("level").string("error");
    amf.name("code").string("NetConnection.Connect.Rejected");
    amf.name("ex").beginObject().name("code").number(302);
    amf.name("redirect").string("rtmp://other/app").endObject().endObject();
  });
  EXPECT_EQ(errorAfter(RtmpRole::kPublish, RtmpScript::handshake(), redirect),
            ConnectionError::kConnectRejected);
  EXPECT_NE(ended->text.find("rtmp://other/app"), std::string::npos) << ended->text;
}

TEST_F(RtmpSessionTest, RefusalsOfTheStream) {
  struct Case {
    RtmpRole role;
    const char* code;
    const char* level;
    std::optional<ConnectionError> error;
  };
  const auto publish = RtmpRole::kPublish;
  const auto play = RtmpRole::kPlay;
  const Case cases[] = {
      {publish, "NetStream.Publish.BadName", "error", ConnectionError::kNameInUse},
      {publish, "NetStream.Publish.Denied", "error", ConnectionError::kPublishDenied},
      {publish, "NetStream.Publish.Unauthorized", "error", ConnectionError::kPublishDenied},
      {publish, "NetStream.Publish.Rejected", "error", ConnectionError::kPublishRejected},
      {publish, "Whatever.Else", "error", ConnectionError::kPublishRejected},
      {publish, "NetStream.Publish.Idle", "status", std::nullopt},
      {publish, "NetStream.Play.Stop", "status", std::nullopt},
      {publish, "NetConnection.Connect.Closed", "status", ConnectionError::kClosedByPeer},
      {play, "NetStream.Play.StreamNotFound", "error", ConnectionError::kStreamNotFound},
      {play, "NetStream.Play.Failed", "error", ConnectionError::kPlayDenied},
      {play, "NetStream.Play.UnpublishNotify", "status", ConnectionError::kStreamEnded},
      {play, "NetStream.Play.Stop", "status", ConnectionError::kStreamEnded},
      {play, "NetStream.Play.Complete", "status", ConnectionError::kStreamEnded},
      {play, "Whatever.Else", "error", ConnectionError::kPlayDenied},
      {play, "NetStream.Play.Reset", "status", std::nullopt},
      {play, "NetStream.Publish.BadName", "status", std::nullopt},
  };
  for (const Case& each : cases) {
    const Bytes before =
        joined({RtmpScript::handshake(), script.connectAccepted(), script.streamCreated()});
    EXPECT_EQ(errorAfter(each.role, before, script.status(each.code, each.level, "why")),
              each.error)
        << each.code;
  }
}

TEST_F(RtmpSessionTest, RefusalsInPlaceOfAnAnswer) {
  const Bytes connected = joined({RtmpScript::handshake(), script.connectAccepted()});
  const Bytes created = joined({connected, script.streamCreated()});
  EXPECT_EQ(errorAfter(RtmpRole::kPublish, connected, script.refused(4, "")),
            ConnectionError::kConnectRejected);
  EXPECT_EQ(errorAfter(RtmpRole::kPublish, created, script.refused(5, "NetStream.Failed")),
            ConnectionError::kPublishDenied);
  EXPECT_EQ(errorAfter(RtmpRole::kPublish, created, script.refused(5, "NetStream.Publish.BadName")),
            ConnectionError::kNameInUse);
  EXPECT_EQ(errorAfter(RtmpRole::kPlay, created, script.refused(5, "NetStream.Failed")),
            ConnectionError::kPlayDenied);
  EXPECT_EQ(errorAfter(RtmpRole::kPlay, created,
                       script.values([](AmfWriter& amf) { amf.string("close").number(0); })),
            ConnectionError::kClosedByPeer);
}

TEST_F(RtmpSessionTest, ARecordingMayEndAsData) {
  beginStarted(RtmpRole::kPlay);
  serve(script.values(
      [](AmfWriter& amf) {
        amf.string("onPlayStatus").beginObject().name("level").string("status");
        amf.name("code").string("NetStream.Play.Complete").endObject();
      },
      RtmpType::kData));
  EXPECT_EQ(error(), ConnectionError::kStreamEnded);
}

TEST_F(RtmpSessionTest, ClosingAnswersThePendingRequest) {
  const Bytes handshake = RtmpScript::handshake();
  const Bytes connected = joined({handshake, script.connectAccepted()});
  const Bytes created = joined({connected, script.streamCreated()});
  struct Case {
    RtmpRole role;
    Bytes before;
    ConnectionError error;
  };
  const Case cases[] = {
      {RtmpRole::kPublish, {}, ConnectionError::kClosedByPeer},
      {RtmpRole::kPublish, handshake, ConnectionError::kConnectRejected},
      {RtmpRole::kPublish, connected, ConnectionError::kConnectRejected},
      {RtmpRole::kPublish, created, ConnectionError::kPublishDenied},
      {RtmpRole::kPlay, created, ConnectionError::kPlayDenied},
      {RtmpRole::kPublish, joined({created, script.status("NetStream.Publish.Start")}),
       ConnectionError::kClosedByPeer},
  };
  for (const Case& each : cases) {
    errorAfter(each.role, each.before, {});
    session->onPeerClosed({ConnectionError::kClosedByPeer, "closed"});
    EXPECT_EQ(error(), each.error);
  }
  errorAfter(RtmpRole::kPublish, created, {});
  session->onPeerClosed({ConnectionError::kTimeout, "no answer"});
  EXPECT_EQ(error(), ConnectionError::kTimeout) << "another failure stays unchanged";
}

TEST_F(RtmpSessionTest, BrokenSessions) {
  const Bytes handshake = RtmpScript::handshake();
  const Bytes connected = joined({handshake, script.connectAccepted()});
  const auto command = [this](const Bytes& body) {
    return script.message(RtmpType::kCommand, body);
  };
  Bytes deep;
  for (int i = 0; i < 20'000; ++i) deep.insert(deep.end(), {0x0a, 0, 0, 0, 1});
  struct Case {
    const char* name;
    Bytes before;
    Bytes bytes;
    std::optional<ConnectionError> error;
  };
  const Case cases[] = {
      {"no RTMP", {}, {'H', 'T', 'T', 'P'}, ConnectionError::kProtocolViolation},
      {"zeros in place of chunks", handshake, Bytes(1000, 0), std::nullopt},
      {"no command name", handshake, command({0, 0, 0}), ConnectionError::kProtocolViolation},
      {"an empty command", handshake, command({}), ConnectionError::kProtocolViolation},
      {"a name that is no text", handshake, command({5}), ConnectionError::kProtocolViolation},
      {"a deep command", handshake, command(joined({{2, 0, 1, 'x'}, deep})),
       ConnectionError::kLimitExceeded},
      {"endless values", handshake, command(joined({{2, 0, 1, 'x'}, Bytes(5000, 5)})),
       ConnectionError::kLimitExceeded},
      {"a stream NaN", connected, script.streamCreated(std::nan("")),
       ConnectionError::kProtocolViolation},
      {"a stream below zero", connected, script.streamCreated(-1),
       ConnectionError::kProtocolViolation},
      {"a stream of 1e300", connected, script.streamCreated(1e300),
       ConnectionError::kProtocolViolation},
      {"half a stream", connected, script.streamCreated(0.5), ConnectionError::kProtocolViolation},
      {"a stream that is a text", connected,
       script.values([](AmfWriter& amf) { amf.string("_result").number(4).null().string("1"); }),
       ConnectionError::kProtocolViolation},
      {"connect without a stream", handshake, script.connectAccepted(), std::nullopt},
      {"an acknowledgement of everything", connected,
       script.number(RtmpType::kAcknowledgement, UINT32_MAX), std::nullopt},
      {"a window without a value", connected, script.message(RtmpType::kWindowSize, Bytes{1}),
       std::nullopt},
  };
  for (const Case& each : cases) {
    const auto found = errorAfter(RtmpRole::kPublish, each.before, each.bytes);
    EXPECT_EQ(found, each.error) << each.name;
  }
}

// ---------------------------------------------------------------------------------------- answers

TEST_F(RtmpSessionTest, AcknowledgesWhatItReceived) {
  beginStarted(RtmpRole::kPlay);
  serve(script.number(RtmpType::kWindowSize, 1000));
  serve(script.message(RtmpType::kVideo, Bytes(500, 1)));
  const auto before = client.all(RtmpType::kAcknowledgement).size();
  serve(script.message(RtmpType::kVideo, Bytes(1500, 1)));
  const auto acknowledgements = client.all(RtmpType::kAcknowledgement);
  ASSERT_EQ(acknowledgements.size(), before + 1);
  EXPECT_GT(readU32(acknowledgements.back().body.data()), 5000u) << "the handshake counts, too";
}

TEST_F(RtmpSessionTest, AWindowOfZeroRequestsNothing) {
  beginStarted(RtmpRole::kPlay);
  serve(script.number(RtmpType::kWindowSize, 0));
  serve(script.message(RtmpType::kVideo, Bytes(50'000, 1)));
  EXPECT_TRUE(client.all(RtmpType::kAcknowledgement).empty());
}

TEST_F(RtmpSessionTest, AnswersTheBandwidthOnce) {
  beginStarted(RtmpRole::kPlay);
  serve(script.number(RtmpType::kPeerBandwidth, 5'000'000));
  serve(script.number(RtmpType::kPeerBandwidth, 5'000'000));
  const auto sizes = client.all(RtmpType::kWindowSize);
  ASSERT_EQ(sizes.size(), 1u);
  EXPECT_EQ(readU32(sizes[0].body.data()), 5'000'000u);
}

TEST_F(RtmpSessionTest, AnswersAPing) {
  beginStarted(RtmpRole::kPublish);
  serve(script.ping(0x01020304));
  const auto controls = client.all(RtmpType::kUserControl);
  ASSERT_EQ(controls.size(), 1u);
  EXPECT_EQ(controls[0].body, (Bytes{0, 7, 1, 2, 3, 4}));
}

TEST_F(RtmpSessionTest, AFloodOfRequestsDoesNotGrowTheOutput) {
  beginStarted(RtmpRole::kPublish);
  session->receive(script.number(RtmpType::kWindowSize, 1));
  for (uint32_t i = 0; i < 20'000; ++i) {
    session->receive(script.ping(i));
    session->receive(script.number(RtmpType::kPeerBandwidth, i + 1));
    (void)session->output();  // looked at, but nothing is taken away
  }
  EXPECT_LE(session->outputBytes(), RtmpSession::kAnswerRoom + 64);
  for (int i = 0; i < 2; ++i) transmit();
  EXPECT_EQ(client.all(RtmpType::kUserControl).back().body, (Bytes{0, 7, 0, 0, 0x4e, 0x1f}))
      << "the newest is answered";
}

TEST_F(RtmpSessionTest, NothingIsReceivedOnceItHasEnded) {
  beginStarted(RtmpRole::kPlay);
  serve(joined(
      {script.status("NetStream.Play.Stop"), script.message(RtmpType::kVideo, Bytes(4, 4))}));
  EXPECT_EQ(error(), ConnectionError::kStreamEnded);
  serve(script.message(RtmpType::kVideo, Bytes(4, 4)));
  session->onPeerClosed({ConnectionError::kClosedByPeer, ""});
  EXPECT_TRUE(media.empty());
}

}  // namespace
}  // namespace NimboEngine

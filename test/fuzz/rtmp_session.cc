// Data from an RTMP server, in both roles. The input's first byte chooses the role, the progress of
// the session, and how the bytes are split.

#include "rtmp/rtmp_session.h"

#include <algorithm>
#include <vector>

#include "fuzz.h"

using namespace NimboEngine;
using NimboEngine::test::require;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kPlays = 0x01;
constexpr uint8_t kBegun = 0x02;  // the handshake has completed
constexpr uint8_t kStarted = 0x04;
constexpr int kPieceShift = 3;

// All requests are written at once, so no output is larger: answers are bounded by kAnswerRoom.
constexpr std::size_t kMostOutput = 8 * 1024;

void appendValues(Bytes& out, ChunkWriter& chunks, const Bytes& values) {
  chunks.write(out, 3, {RtmpType::kCommand, 0, 0, values});
}

// A server's messages up to an accepted stream.
Bytes acceptance(bool plays) {
  Bytes out;
  ChunkWriter chunks;
  Bytes values;
  AmfWriter(values).string("_result").number(1).null();
  appendValues(out, chunks, values);
  values.clear();
  AmfWriter(values).string("_result").number(4).null().number(1);
  appendValues(out, chunks, values);
  values.clear();
  AmfWriter status(values);
  status.string("onStatus").number(0).null().beginObject().name("code");
  status.string(plays ? "NetStream.Play.Start" : "NetStream.Publish.Start").endObject();
  appendValues(out, chunks, values);
  return out;
}

class Conversation {
 public:
  explicit Conversation(RtmpRole role)
      : session_(role, {false, "h", 1935, "app", "stream", "rtmp://h/app"},
                 {.onConnected = [] {},
                  .onStarted = [] {},
                  .onMedia =
                      [role](const RtmpMessage& message) {
                        require(role == RtmpRole::kPlay, "only players receive media");
                        require(message.body.size() <= ChunkReader::kMaxMessageBytes,
                                "a message is within its limit");
                      },
                  .onEnded =
                      [this](const ConnectionFailure& failure) {
                        require(!ended_, "it ends once");
                        require(!failure.text.empty(), "an end has an error");
                        ended_ = true;
                      }}) {
    session_.start();
  }

  void receive(std::span<const uint8_t> bytes) {
    session_.receive(bytes);
    require(
        session_.pendingBytes() <= ChunkReader::kMaxPendingBytes + ChunkReader::kMaxMessageBytes,
        "unfinished messages are within their limit");
    // Half of it is sent, like on a slow network.
    const std::size_t waiting = session_.output().size();
    require(waiting <= kMostOutput, "the output does not grow");
    session_.consumeOutput((waiting + 1) / 2);
  }

  bool ended() const { return ended_; }

 private:
  bool ended_ = false;
  RtmpSession session_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const uint8_t choice = data[0];
  const std::span<const uint8_t> input(data + 1, size - 1);
  const bool plays = (choice & kPlays) != 0;
  Conversation conversation(plays ? RtmpRole::kPlay : RtmpRole::kPublish);
  if ((choice & kBegun) != 0) {
    conversation.receive(Bytes(1 + 2 * Handshake::kPartBytes, 3));
    if ((choice & kStarted) != 0) conversation.receive(acceptance(plays));
    require(!conversation.ended(), "a good beginning");
  }
  const std::size_t piece = choice >> kPieceShift ? choice >> kPieceShift : size;
  for (std::size_t at = 0; at < input.size() && !conversation.ended(); at += piece) {
    conversation.receive(input.subspan(at, std::min(piece, input.size() - at)));
  }
  return 0;
}

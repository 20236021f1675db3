#include "rtmp/rtmp_session.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "rtmp/aggregate.h"
#include "rtmp/byte_order.h"
#include "rtmp/status_code.h"

namespace NimboEngine {
namespace {

// Chunk streams. Each kind of media has its own, so that time stamps go forward on each.
constexpr uint32_t kControlChunks = 2;
constexpr uint32_t kCommandChunks = 3;
constexpr uint32_t kAudioChunks = 4;
constexpr uint32_t kDataChunks = 5;
constexpr uint32_t kVideoChunks = 6;

// With RTMP's default of 128 bytes each frame would become hundreds of chunks.
constexpr uint32_t kChunkSize = 4096;

// Sent bytes are removed from the output's front once they are this many.
constexpr std::size_t kSentBytesKept = std::size_t{64} * 1024;

// Of commands that are answered by "_result" or "_error".
constexpr int kConnect = 1;
constexpr int kReleaseStream = 2;
constexpr int kAnnounce = 3;  // FCPublish, FCSubscribe
constexpr int kCreateStream = 4;
constexpr int kStart = 5;  // publish, play
constexpr int kEnd = 6;

enum UserControl : uint16_t { kSetBufferLength = 3, kPing = 6, kPong = 7 };

// How far ahead a server may send: at most the recent frames of a live stream.
constexpr uint32_t kBufferLengthMs = 3000;
// Plays the live stream, or a recording if there is none.
constexpr double kLiveOrRecorded = -2000;

// Codecs beyond those that the first byte of a video or audio message can express.
constexpr std::array<std::string_view, 7> kFourCcs = {"av01", "hvc1", "vp09", "avc1",
                                                      "mp4a", "Opus", ".mp3"};

// All audio and video codecs of the classic bits, and client-side seeking.
constexpr double kAudioCodecs = 0x0fff;
constexpr double kVideoCodecs = 0x00ff;
constexpr double kVideoFunction = 1;

uint32_t chunkStreamOf(RtmpType type) {
  return type == RtmpType::kAudio   ? kAudioChunks
         : type == RtmpType::kVideo ? kVideoChunks
                                    : kDataChunks;
}

bool isMedia(RtmpType type) {
  return type == RtmpType::kAudio || type == RtmpType::kVideo || type == RtmpType::kData;
}

bool exceedsLimit(AmfError error) {
  return error == AmfError::kTooDeep || error == AmfError::kTooManyValues ||
         error == AmfError::kStringTooLong;
}

// The status is the first object; usually preceded by a null.
const AmfValue* statusIn(const std::vector<AmfValue>& arguments) {
  const auto status = std::ranges::find(arguments, AmfValue::Type::kObject, &AmfValue::type);
  return status == arguments.end() ? nullptr : &*status;
}

// Returns the server's text: its code, and its description if that adds something.
std::string wordsOf(const AmfValue* status) {
  const std::string_view code = status ? status->textOf("code") : "";
  const std::string_view description = status ? status->textOf("description") : "";
  if (code.empty() && description.empty()) return "the server refuses without a reason";
  if (description.empty() || description == code) return std::string(code);
  return code.empty() ? std::string(description) : fmt::format("{}: {}", code, description);
}

}  // namespace

RtmpSession::RtmpSession(RtmpRole role, RtmpUrl url, Events events)
    : role_(role), url_(std::move(url)), events_(std::move(events)) {}

void RtmpSession::start() {
  Handshake::begin(out_);
}

void RtmpSession::end(const ConnectionFailure& failure) {
  if (std::exchange(state_, State::kEnded) == State::kEnded) return;
  events_.onEnded(failure);
}

void RtmpSession::end(ConnectionError error, std::string text) {
  end({error, std::move(text)});
}

// ----------------------------------------------------------------------------------------- receive

void RtmpSession::receive(std::span<const uint8_t> bytes) {
  if (state_ == State::kEnded) return;
  received_ += bytes.size();
  if (!handshake_.isComplete()) {
    const auto received = handshake_.receive(bytes, out_);
    if (!received) return end(received.error());
    if (!handshake_.isComplete()) return;
    onHandshakeComplete();
  }
  const auto read =
      reader_.read(bytes, [this](const RtmpMessage& message) { return onMessage(message); });
  if (!read) end(read.error());
}

void RtmpSession::onPeerClosed(const ConnectionFailure& failure) {
  if (failure.code != ConnectionError::kClosedByPeer) return end(failure);
  const bool publishes = role_ == RtmpRole::kPublish;
  switch (state_) {
    case State::kConnecting:
    case State::kCreatingStream:
      return end(ConnectionError::kConnectRejected,
                 fmt::format("the server closed the connection instead of accepting \"{}\"",
                             url_.application));
    case State::kStarting:
      return end(publishes ? ConnectionError::kPublishDenied : ConnectionError::kPlayDenied,
                 fmt::format("the server closed the connection instead of letting the stream be {}",
                             publishes ? "published" : "played"));
    case State::kHandshake:
    case State::kStarted:
    case State::kEnded:
      end(failure);
  }
}

void RtmpSession::onHandshakeComplete() {
  state_ = State::kConnecting;
  sendConnect();
}

// Returns false once the session has ended.
bool RtmpSession::onMessage(const RtmpMessage& message) {
  switch (message.type) {
    case RtmpType::kUserControl:
      onUserControl(message.body);
      break;
    case RtmpType::kWindowSize:
      if (message.body.size() >= 4) window_ = readU32(message.body.data());
      break;
    case RtmpType::kPeerBandwidth:
      if (message.body.size() >= 4 && readU32(message.body.data()) != ownWindow_) {
        dueWindowSize_ = readU32(message.body.data());
      }
      break;
    case RtmpType::kCommand:
      onCommand(message.body);
      break;
    case RtmpType::kCommandAmf3:
      // Its first byte is the encoding; servers use AMF0 for commands.
      if (!message.body.empty()) onCommand(message.body.subspan(1));
      break;
    case RtmpType::kAggregate: {
      const bool whole =
          splitAggregate(message, [this](const RtmpMessage& part) { onMediaMessage(part); });
      if (!whole) end(ConnectionError::kProtocolViolation, "a broken aggregate message");
      break;
    }
    default:
      onMediaMessage(message);
  }
  return state_ != State::kEnded;
}

void RtmpSession::onUserControl(std::span<const uint8_t> body) {
  if (body.size() >= 6 && readU16(body.data()) == kPing) duePong_ = readU32(&body[2]);
}

void RtmpSession::onMediaMessage(const RtmpMessage& message) {
  if (state_ == State::kEnded) return;
  if (message.type == RtmpType::kData) return onData(message);
  if (message.type == RtmpType::kDataAmf3) {
    RtmpMessage data = message;
    data.type = RtmpType::kData;
    if (!data.body.empty()) data.body = data.body.subspan(1);
    return onData(data);
  }
  if (role_ == RtmpRole::kPlay && isMedia(message.type)) events_.onMedia(message);
}

void RtmpSession::onData(RtmpMessage message) {
  AmfReader reader(message.body);
  const auto name = reader.read();
  if (!name || name->type != AmfValue::Type::kString) return;  // useless
  if (name->string == "onPlayStatus" || name->string == "onStatus") {
    const auto status = reader.read();
    if (status) onStatus({*status});
    return;
  }
  if (name->string.starts_with('|')) return;  // permissions of Flash players
  // A publisher's wrapper around the data for players; servers usually remove it.
  if (name->string == "@setDataFrame") message.body = reader.rest();
  if (role_ == RtmpRole::kPlay) events_.onMedia(message);
}

// ---------------------------------------------------------------------------------------- commands

void RtmpSession::onCommand(std::span<const uint8_t> body) {
  AmfReader reader(body);
  const auto name = reader.read();
  if (!name || name->type != AmfValue::Type::kString) {
    return end(ConnectionError::kProtocolViolation, "a command without a name");
  }
  // Some servers omit the transaction where it has no meaning, or the values after it.
  const double id = reader.read().value_or(AmfValue()).number;
  std::vector<AmfValue> arguments;
  while (!reader.atEnd()) {
    auto argument = reader.read();
    if (!argument) break;
    arguments.push_back(std::move(*argument));
  }
  if (exceedsLimit(reader.error())) {
    return end(ConnectionError::kLimitExceeded,
               "a command that is nested too deeply, or has too many or too long values");
  }
  // Compared as a number: the peer may send one that no integer can hold.
  const int known = id >= kConnect && id <= kEnd ? static_cast<int>(id) : 0;
  if (name->string == "_result") return onResult(known, arguments);
  if (name->string == "_error") return onRefused(known, arguments);
  if (name->string == "onStatus") return onStatus(arguments);
  if (name->string == "close")
    return end(ConnectionError::kClosedByPeer, "the server ended the session");
  // Everything else ("onBWDone", "onFCPublish", ...) needs no answer.
}

void RtmpSession::onResult(int transaction, const std::vector<AmfValue>& arguments) {
  if (transaction == kConnect && state_ == State::kConnecting) return onConnectAccepted();
  if (transaction == kCreateStream && state_ == State::kCreatingStream) {
    return onStreamCreated(arguments);
  }
}

void RtmpSession::onConnectAccepted() {
  state_ = State::kCreatingStream;
  sendNumber(RtmpType::kSetChunkSize, kChunkSize);
  writer_.setChunkSize(kChunkSize);
  std::vector<uint8_t> body;
  AmfWriter amf(body);
  if (role_ == RtmpRole::kPublish) {
    amf.string("releaseStream").number(kReleaseStream).null().string(url_.stream);
    sendCommand(0, body);
    body.clear();
    amf.string("FCPublish").number(kAnnounce).null().string(url_.stream);
    sendCommand(0, body);
    body.clear();
  }
  amf.string("createStream").number(kCreateStream).null();
  sendCommand(0, body);
  events_.onConnected();
}

void RtmpSession::onStreamCreated(const std::vector<AmfValue>& arguments) {
  const auto id = std::ranges::find(arguments, AmfValue::Type::kNumber, &AmfValue::type);
  // NaN fails the comparison as well.
  if (id == arguments.end() || !(id->number >= 0 && id->number <= UINT32_MAX) ||
      id->number != std::floor(id->number)) {
    return end(ConnectionError::kProtocolViolation, "the created stream has no valid identifier");
  }
  stream_ = static_cast<uint32_t>(id->number);
  state_ = State::kStarting;
  std::vector<uint8_t> body;
  AmfWriter amf(body);
  if (role_ == RtmpRole::kPublish) {
    amf.string("publish").number(kStart).null().string(url_.stream).string("live");
    return sendCommand(stream_, body);
  }
  // Makes servers of content delivery networks fetch the stream; others ignore it.
  amf.string("FCSubscribe").number(kAnnounce).null().string(url_.stream);
  sendCommand(0, body);
  body.clear();
  amf.string("play").number(kStart).null().string(url_.stream).number(kLiveOrRecorded);
  sendCommand(stream_, body);
  body.clear();
  appendBigEndian<2>(body, kSetBufferLength);
  appendBigEndian<4>(body, stream_);
  appendBigEndian<4>(body, kBufferLengthMs);
  sendControl(RtmpType::kUserControl, body);
}

void RtmpSession::onRefused(int transaction, const std::vector<AmfValue>& arguments) {
  const AmfValue* info = statusIn(arguments);
  if (transaction == kConnect) {
    return onConnectRefused(info ? info->textOf("code") : std::string_view(), info);
  }
  if (transaction == kCreateStream) return end(ConnectionError::kConnectRejected, wordsOf(info));
  if (transaction != kStart) return;  // commands that not all servers need
  const std::string_view code = info ? info->textOf("code") : std::string_view();
  const auto byCode = role_ == RtmpRole::kPublish ? publishErrorOf(code) : playErrorOf(code);
  end(byCode.value_or(role_ == RtmpRole::kPublish ? ConnectionError::kPublishDenied
                                                  : ConnectionError::kPlayDenied),
      wordsOf(info));
}

void RtmpSession::onConnectRefused(std::string_view code, const AmfValue* info) {
  const std::string words = wordsOf(info);
  if (asksForAuthentication(words)) return end(ConnectionError::kAuthenticationNeeded, words);
  const AmfValue* extra = info ? info->find("ex") : nullptr;
  const AmfValue* redirect = extra ? extra->find("redirect") : nullptr;
  if (redirect) {
    return end(ConnectionError::kConnectRejected,
               fmt::format("the server redirects to {}, which is not followed", redirect->string));
  }
  end(ConnectionError::kConnectRejected, code.empty() && info ? "connect: " + words : words);
}

// ------------------------------------------------------------------------------------------ status

void RtmpSession::onStatus(const std::vector<AmfValue>& arguments) {
  const AmfValue* status = statusIn(arguments);
  if (!status) return;
  const std::string_view code = status->textOf("code");
  const std::string_view level = status->textOf("level");
  if (code == "NetConnection.Connect.Rejected" || code == "NetConnection.Connect.InvalidApp") {
    return onConnectRefused(code, status);
  }
  if (code == "NetConnection.Connect.Closed")
    return end(ConnectionError::kClosedByPeer, wordsOf(status));
  const bool starts =
      code == (role_ == RtmpRole::kPublish ? "NetStream.Publish.Start" : "NetStream.Play.Start");
  if (starts) return started();
  const auto byCode = role_ == RtmpRole::kPublish ? publishErrorOf(code) : playErrorOf(code);
  if (byCode) return end(*byCode, wordsOf(status));
  if (level != "error") return;
  end(role_ == RtmpRole::kPublish ? ConnectionError::kPublishRejected
                                  : ConnectionError::kPlayDenied,
      wordsOf(status));
}

bool RtmpSession::awaitsServer() const {
  return state_ < (role_ == RtmpRole::kPublish ? State::kStarted : State::kStarting);
}

void RtmpSession::started() {
  if (state_ != State::kStarting) return;
  state_ = State::kStarted;
  events_.onStarted();
}

// -------------------------------------------------------------------------------------------- send

void RtmpSession::sendConnect() {
  const bool publishes = role_ == RtmpRole::kPublish;
  std::vector<uint8_t> body;
  AmfWriter amf(body);
  amf.string("connect").number(kConnect).beginObject();
  amf.name("app").string(url_.application);
  if (publishes) amf.name("type").string("nonprivate");
  // Servers check the beginning to distinguish encoders from players.
  amf.name("flashVer").string(publishes ? "FMLE/3.0 (compatible; Nimbo)" : "LNX 9,0,124,2");
  amf.name("tcUrl").string(url_.tcUrl);
  if (!publishes) {
    amf.name("fpad").boolean(false);
    amf.name("capabilities").number(15);
    amf.name("audioCodecs").number(kAudioCodecs);
    amf.name("videoCodecs").number(kVideoCodecs);
    amf.name("videoFunction").number(kVideoFunction);
  }
  // Enhanced RTMP: codecs by their four-letter names. No reconnect requests, no multitrack.
  amf.name("fourCcList").strings(kFourCcs);
  amf.name("capsEx").number(0);
  amf.endObject();
  sendCommand(0, body);
}

void RtmpSession::sendMedia(RtmpType type, uint32_t timestamp, std::size_t size,
                            const ChunkWriter::CopyBody& copy) {
  writer_.write(out_, chunkStreamOf(type), {type, timestamp, stream_, {}}, size, copy);
}

void RtmpSession::finish() {
  if (role_ != RtmpRole::kPublish || (state_ != State::kStarting && state_ != State::kStarted)) {
    return;
  }
  std::vector<uint8_t> body;
  AmfWriter amf(body);
  amf.string("FCUnpublish").number(kEnd).null().string(url_.stream);
  sendCommand(0, body);
  body.clear();
  amf.string("deleteStream").number(kEnd).null().number(stream_);
  sendCommand(0, body);
}

void RtmpSession::sendCommand(uint32_t stream, const std::vector<uint8_t>& body) {
  writer_.write(out_, kCommandChunks, {RtmpType::kCommand, 0, stream, body});
}

void RtmpSession::sendControl(RtmpType type, std::span<const uint8_t> body) {
  writer_.write(out_, kControlChunks, {type, 0, 0, body});
}

void RtmpSession::sendNumber(RtmpType type, uint32_t number) {
  std::vector<uint8_t> body;
  appendBigEndian<4>(body, number);
  sendControl(type, body);
}

void RtmpSession::sendAnswers() {
  if (dueWindowSize_) {
    ownWindow_ = *std::exchange(dueWindowSize_, std::nullopt);
    sendNumber(RtmpType::kWindowSize, ownWindow_);
  }
  if (window_ > 0 && received_ - acknowledged_ >= window_) {
    acknowledged_ = received_;
    sendNumber(RtmpType::kAcknowledgement, static_cast<uint32_t>(received_));
  }
  if (duePong_) {
    std::vector<uint8_t> body;
    appendBigEndian<2>(body, kPong);
    appendBigEndian<4>(body, *std::exchange(duePong_, std::nullopt));
    sendControl(RtmpType::kUserControl, body);
  }
}

std::span<const uint8_t> RtmpSession::output() {
  if (state_ != State::kHandshake && outputBytes() < kAnswerRoom) sendAnswers();
  return std::span<const uint8_t>(out_).subspan(sent_);
}

void RtmpSession::consumeOutput(std::size_t bytes) {
  sent_ += std::min(bytes, outputBytes());
  if (sent_ == out_.size()) {
    out_.clear();
    sent_ = 0;
  } else if (sent_ >= kSentBytesKept) {
    out_.erase(out_.begin(), out_.begin() + static_cast<std::ptrdiff_t>(sent_));
    sent_ = 0;
  }
}

}  // namespace NimboEngine

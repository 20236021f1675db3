// The RTMP session with a server, from the handshake to the media, without any I/O: received bytes
// go in; events, and bytes to be sent, come out.
//
//   publish: handshake, connect, releaseStream, FCPublish, createStream, publish, media;
//            FCUnpublish and deleteStream at the end
//   play:    handshake, connect, createStream, FCSubscribe, play, buffer length, media
//
// Media are accepted on any message stream: some servers send them on 0. Requests that a server may
// repeat without limit (acknowledgements, pings) are answered with the newest value only, and only
// when the pending output is nearly sent: so a flood of requests neither grows the output nor
// delays media.
//
// Thread: one at a time. The events are raised inside start() and receive(); a handler must not
//   call the session.
// Ownership: a message in onMedia is borrowed for the call.
// Failure: onEnded, once; data received afterwards are ignored.

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "net/connection_error.h"
#include "rtmp/amf.h"
#include "rtmp/chunk_reader.h"
#include "rtmp/chunk_writer.h"
#include "rtmp/handshake.h"
#include "rtmp/message.h"
#include "rtmp/rtmp_url.h"

namespace NimboEngine {

enum class RtmpRole { kPublish, kPlay };

class RtmpSession {
 public:
  // Answers are held back while more than this waits to be sent.
  static constexpr std::size_t kAnswerRoom = 4096;

  struct Events {
    // The server accepted the connection; the stream is next.
    std::function<void()> onConnected;
    // The server accepted the stream: it may be sent, or playing has been announced.
    std::function<void()> onStarted;
    // Playing: audio, video, or data, always of type kData.
    std::function<void(const RtmpMessage&)> onMedia;
    std::function<void(const ConnectionFailure&)> onEnded;
  };

  RtmpSession(RtmpRole role, RtmpUrl url, Events events);

  void start();
  void receive(std::span<const uint8_t> bytes);

  // To be called when the connection has ended. If a response was pending, this counts as a
  // refusal: many servers refuse by closing.
  void onPeerClosed(const ConnectionFailure& failure);

  // Publishing: audio, video or data, of `size` bytes which `copy` supplies. To be called after
  // onStarted only.
  void sendMedia(RtmpType type, uint32_t timestamp, std::size_t size,
                 const ChunkWriter::CopyBody& copy);

  // Ends the stream on the server, if there is one.
  void finish();

  // Returns whether the server has not accepted the stream yet.
  bool isStarting() const { return state_ < State::kStarted; }

  // Returns whether the connection is waiting for a response of the server, to which a timeout
  // applies. A player's wait for its stream after the request is not limited here.
  bool awaitsServer() const;

  // The bytes to be sent; the caller reports how many it has sent.
  std::span<const uint8_t> output();
  void consumeOutput(std::size_t bytes);
  std::size_t outputBytes() const { return out_.size() - sent_; }

  // Received bytes of incomplete messages.
  std::size_t pendingBytes() const { return reader_.pendingBytes(); }

 private:
  enum class State { kHandshake, kConnecting, kCreatingStream, kStarting, kStarted, kEnded };

  void end(const ConnectionFailure& failure);
  void end(ConnectionError error, std::string text);
  void onHandshakeComplete();
  bool onMessage(const RtmpMessage& message);
  void onUserControl(std::span<const uint8_t> body);
  void onMediaMessage(const RtmpMessage& message);
  void onData(RtmpMessage message);
  void onCommand(std::span<const uint8_t> body);
  void onResult(int transaction, const std::vector<AmfValue>& arguments);
  void onConnectAccepted();
  void onStreamCreated(const std::vector<AmfValue>& arguments);
  void onRefused(int transaction, const std::vector<AmfValue>& arguments);
  void onConnectRefused(std::string_view code, const AmfValue* info);
  void onStatus(const std::vector<AmfValue>& arguments);
  void onPublishStatus(std::string_view code, std::string_view level, const std::string& text);
  void onPlayStatus(std::string_view code, std::string_view level, const std::string& text);
  void started();

  void sendConnect();
  void sendCommand(uint32_t stream, const std::vector<uint8_t>& body);
  void sendControl(RtmpType type, std::span<const uint8_t> body);
  void sendNumber(RtmpType type, uint32_t number);
  void sendAnswers();

  const RtmpRole role_;
  const RtmpUrl url_;
  const Events events_;

  State state_ = State::kHandshake;
  Handshake handshake_;
  ChunkReader reader_;
  ChunkWriter writer_;
  uint32_t stream_ = 0;  // the message stream that the server created

  std::vector<uint8_t> out_;
  std::size_t sent_ = 0;  // of `out_`

  // Requests of the server that have not been answered yet.
  std::optional<uint32_t> dueWindowSize_;
  std::optional<uint32_t> duePong_;

  uint32_t window_ = 0;        // interval of acknowledgements that the server requests; 0: none
  uint32_t ownWindow_ = 0;     // the last announced one
  uint64_t received_ = 0;      // bytes
  uint64_t acknowledged_ = 0;  // of these
};

}  // namespace NimboEngine

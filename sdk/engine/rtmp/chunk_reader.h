// Reassembles messages from RTMP's chunk stream, however its bytes are split on arrival.
//
// Messages about the chunk stream itself (chunk size, abort) are processed here and not passed on.
// Memory is bounded by the limits below, not by the peer's announcements: a message takes only as
// much as has arrived of it.
//
// Thread: one at a time.
// Failure: read() returns an error; then the connection is unusable and nothing more is read.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "net/connection_error.h"
#include "rtmp/message.h"

namespace NimboEngine {

class ChunkReader {
 public:
  // A key frame of 4K video at 100 Mbit/s has about 3 MB.
  static constexpr std::size_t kMaxMessageBytes = std::size_t{8} * 1024 * 1024;
  // Of messages that are not complete yet, on all chunk streams together.
  static constexpr std::size_t kMaxPendingBytes = std::size_t{16} * 1024 * 1024;
  // Servers use fewer than ten.
  static constexpr std::size_t kMaxChunkStreams = 64;
  static constexpr uint32_t kMaxChunkSize = 0xffffff;

  // Returns false to end reading, for example because the connection has failed.
  using Handler = std::function<bool(const RtmpMessage&)>;

  // Calls the handler once for each message that has become complete.
  Result<void, ConnectionError> read(std::span<const uint8_t> bytes, const Handler& handler);

  std::size_t pendingBytes() const { return pending_; }
  uint32_t chunkSize() const { return chunkSize_; }

 private:
  struct ChunkStream {
    RtmpType type{};
    uint32_t length = 0;
    uint32_t stream = 0;
    uint32_t timestamp = 0;
    uint32_t delta = 0;
    bool extended = false;       // the last header's time stamp did not fit into three bytes
    uint32_t extendedValue = 0;  // its value
    bool partial = false;        // a message has begun and is incomplete
    std::vector<uint8_t> body;
  };

  bool consume(std::span<const uint8_t> bytes, const Handler& handler);
  std::size_t neededHeaderBytes() const;
  bool collectHeader(std::span<const uint8_t>& bytes);
  bool applyHeader();
  ChunkStream* select(uint32_t id, int format);
  bool continueMessage(ChunkStream& stream, const uint8_t* extended);
  bool beginMessage(ChunkStream& stream, int format, const uint8_t* fields);
  bool consumePayload(std::span<const uint8_t>& bytes, const Handler& handler);
  bool complete(ChunkStream& stream, const Handler& handler);
  bool setChunkSize(std::span<const uint8_t> body);
  bool abort(std::span<const uint8_t> body);
  void discard(ChunkStream& stream);
  bool fail(ConnectionError error, std::string text);

  std::map<uint32_t, ChunkStream> streams_;
  ChunkStream* current_ = nullptr;  // of the chunk whose payload is read; null within a header
  std::size_t chunkLeft_ = 0;       // of that payload
  std::array<uint8_t, 3 + 11 + 4> header_{};
  std::size_t headerBytes_ = 0;  // received so far
  // The bytes read as a repeated time stamp are the beginning of the payload.
  bool unrepeated_ = false;
  uint32_t chunkSize_ = 128;
  std::size_t pending_ = 0;
  bool ended_ = false;
  Result<void, ConnectionError> outcome_;
};

}  // namespace NimboEngine

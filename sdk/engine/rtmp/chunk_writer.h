// Splits messages into RTMP chunks.
//
// Thread: one at a time.
// Failure: none.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "rtmp/message.h"

namespace NimboEngine {

class ChunkWriter {
 public:
  // Copies the body's bytes from `offset` on into `target`, all of it.
  using CopyBody = std::function<void(std::size_t offset, std::span<uint8_t> target)>;

  // Sets the chunk size, which the caller must announce to the peer in a message.
  void setChunkSize(uint32_t size) { chunkSize_ = size; }

  // Appends the message to `out`. `chunkStream` is 2 to 63.
  void write(std::vector<uint8_t>& out, uint32_t chunkStream, const RtmpMessage& message);

  // The same for a body of `size` bytes supplied by `copy`; that of `message` is ignored.
  void write(std::vector<uint8_t>& out, uint32_t chunkStream, const RtmpMessage& message,
             std::size_t size, const CopyBody& copy);

 private:
  struct Last {
    uint32_t timestamp;
    uint32_t stream;
  };

  bool writeHeader(std::vector<uint8_t>& out, uint32_t chunkStream, const RtmpMessage& message,
                   std::size_t size);

  uint32_t chunkSize_ = 128;
  std::array<std::optional<Last>, 64> last_;  // by chunk stream
};

}  // namespace NimboEngine

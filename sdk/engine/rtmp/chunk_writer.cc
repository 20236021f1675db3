#include "rtmp/chunk_writer.h"

#include <algorithm>

#include "rtmp/byte_order.h"

namespace NimboEngine {
namespace {

// The upper two bits of a chunk's first byte.
constexpr uint8_t kSameStream = 1 << 6;
constexpr uint8_t kContinuation = 3 << 6;

}  // namespace

void ChunkWriter::write(std::vector<uint8_t>& out, uint32_t chunkStream,
                        const RtmpMessage& message) {
  write(out, chunkStream, message, message.body.size(),
        [&](std::size_t offset, std::span<uint8_t> target) {
          std::copy_n(message.body.begin() + static_cast<std::ptrdiff_t>(offset), target.size(),
                      target.begin());
        });
}

void ChunkWriter::write(std::vector<uint8_t>& out, uint32_t chunkStream, const RtmpMessage& message,
                        std::size_t size, const CopyBody& copy) {
  const bool extended = writeHeader(out, chunkStream, message, size);
  for (std::size_t offset = 0; offset < size;) {
    if (offset > 0) {
      out.push_back(static_cast<uint8_t>(kContinuation | chunkStream));
      if (extended) appendBigEndian<4>(out, message.timestamp);
    }
    const std::size_t count = std::min<std::size_t>(chunkSize_, size - offset);
    const std::size_t end = out.size();
    out.resize(end + count);
    copy(offset, std::span(out).subspan(end));
    offset += count;
  }
}

// Returns whether the time stamp is an extended one, which each chunk repeats.
bool ChunkWriter::writeHeader(std::vector<uint8_t>& out, uint32_t chunkStream,
                              const RtmpMessage& message, std::size_t size) {
  std::optional<Last>& last = last_[chunkStream];
  // A delta must fit: a larger one, or a negative one, needs a full header.
  const bool full = !last || last->stream != message.stream ||
                    message.timestamp - last->timestamp >= kExtendedMark;
  const uint32_t time = full ? message.timestamp : message.timestamp - last->timestamp;
  const bool extended = time >= kExtendedMark;
  out.push_back(static_cast<uint8_t>((full ? 0 : kSameStream) | chunkStream));
  appendBigEndian<3>(out, extended ? kExtendedMark : time);
  appendBigEndian<3>(out, size);
  out.push_back(static_cast<uint8_t>(message.type));
  if (full) appendLittleU32(out, message.stream);
  if (extended) appendBigEndian<4>(out, time);
  last = {message.timestamp, message.stream};
  return extended;
}

}  // namespace NimboEngine

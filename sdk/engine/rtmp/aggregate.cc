#include "rtmp/aggregate.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "rtmp/byte_order.h"

namespace NimboEngine {
namespace {

// Type (1), size (3), time stamp (3, then its upper byte), message stream (3). The size is repeated
// after the part.
constexpr std::size_t kHeaderBytes = 11;
constexpr std::size_t kTrailerBytes = 4;

}  // namespace

bool splitAggregate(const RtmpMessage& aggregate,
                    const std::function<void(const RtmpMessage&)>& handler) {
  std::span<const uint8_t> bytes = aggregate.body;
  std::optional<uint32_t> first;
  while (!bytes.empty()) {
    if (bytes.size() < kHeaderBytes) return false;
    const std::size_t size = readU24(&bytes[1]);
    const uint32_t time = static_cast<uint32_t>(bytes[7]) << 24 | readU24(&bytes[4]);
    if (!first) first = time;
    if (size > bytes.size() - kHeaderBytes) return false;
    const RtmpMessage part{static_cast<RtmpType>(bytes[0]), aggregate.timestamp + (time - *first),
                           aggregate.stream, bytes.subspan(kHeaderBytes, size)};
    // An aggregate within an aggregate is not split, so nesting is bounded.
    if (part.type != RtmpType::kAggregate) handler(part);
    const std::size_t whole = kHeaderBytes + size + kTrailerBytes;
    bytes = bytes.subspan(std::min(whole, bytes.size()));
  }
  return true;
}

}  // namespace NimboEngine

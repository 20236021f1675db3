// One RTMP message, and the message type numbers.
//
// Thread: plain values.
// Ownership: a message borrows its body for the duration of the call that passes it.

#pragma once

#include <cstdint>
#include <span>

namespace NimboEngine {

enum class RtmpType : uint8_t {
  kSetChunkSize = 1,
  kAbort = 2,
  kAcknowledgement = 3,
  kUserControl = 4,
  kWindowSize = 5,
  kPeerBandwidth = 6,
  kAudio = 8,
  kVideo = 9,
  kDataAmf3 = 15,
  kCommandAmf3 = 17,
  kData = 18,
  kCommand = 20,
  kAggregate = 22,
};

// In the 24 bits of a chunk header's time: the time stands behind the header, in 32 bits.
inline constexpr uint32_t kExtendedMark = 0xffffff;

struct RtmpMessage {
  RtmpType type{};
  uint32_t timestamp = 0;  // ms; wraps
  uint32_t stream = 0;     // message stream
  std::span<const uint8_t> body;
};

}  // namespace NimboEngine

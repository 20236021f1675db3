// The client's side of RTMP's simple handshake.
//
// Thread: one at a time.
// Failure: receive() says so; nothing can follow then.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "net/connection_error.h"

namespace NimboEngine {

class Handshake {
 public:
  // The client's part and the server's alike: random bytes behind a time and a zero.
  static constexpr std::size_t kPartBytes = 1536;

  // Appends what the client says first to `out`.
  static void begin(std::vector<uint8_t>& out);

  // Takes from `bytes` what belongs to the handshake, in any pieces, and appends the answer to
  // `out` when it is due.
  std::optional<ConnectionFailure> receive(std::span<const uint8_t>& bytes,
                                           std::vector<uint8_t>& out);

  bool isComplete() const { return received_ == 1 + 2 * kPartBytes; }

 private:
  std::size_t received_ = 0;
  std::array<uint8_t, kPartBytes> peerPart_{};
};

}  // namespace NimboEngine

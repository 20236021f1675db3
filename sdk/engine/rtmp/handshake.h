// The client's side of RTMP's simple handshake.
//
// Thread: one at a time.
// Failure: returned by receive(); nothing can follow then.

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
  // The size of the client's part and of the server's: a time and a zero, then random bytes.
  static constexpr std::size_t kPartBytes = 1536;

  // Appends the client's first part to `out`.
  static void begin(std::vector<uint8_t>& out);

  // Consumes the handshake's part of `bytes`, cut anywhere, and appends the response to `out` when
  // it is due.
  Result<void, ConnectionError> receive(std::span<const uint8_t>& bytes, std::vector<uint8_t>& out);

  bool isComplete() const { return received_ == 1 + 2 * kPartBytes; }

 private:
  std::size_t received_ = 0;
  std::array<uint8_t, kPartBytes> peerPart_{};
};

}  // namespace NimboEngine

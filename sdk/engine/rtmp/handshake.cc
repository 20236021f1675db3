#include "rtmp/handshake.h"

#include <algorithm>
#include <random>

namespace NimboEngine {
namespace {

constexpr uint8_t kVersion = 3;
// Versions above this one are reserved, so that text protocols can be distinguished.
constexpr uint8_t kLastVersion = 31;
// Time, and four bytes that are zero in the simple handshake.
constexpr std::size_t kHeadBytes = 8;

}  // namespace

void Handshake::begin(std::vector<uint8_t>& out) {
  out.push_back(kVersion);
  out.insert(out.end(), kHeadBytes, 0);
  std::minstd_rand random(std::random_device{}());
  for (std::size_t i = kHeadBytes; i < kPartBytes; ++i) {
    out.push_back(static_cast<uint8_t>(random() >> 8));
  }
}

// The server sends its version, its own part, then an echo of the client's part. The echo is not
// compared: real servers send something else.
Result<void, ConnectionError> Handshake::receive(std::span<const uint8_t>& bytes,
                                                 std::vector<uint8_t>& out) {
  if (received_ == 0 && !bytes.empty()) {
    if (bytes[0] < kVersion || bytes[0] > kLastVersion) {
      return failed(ConnectionError::kProtocolViolation,
                    "the server does not speak RTMP: version {}", bytes[0]);
    }
    bytes = bytes.subspan(1);
    received_ = 1;
  }
  if (received_ == 0) return {};
  if (received_ <= kPartBytes) {
    const std::size_t have = received_ - 1;
    const std::size_t count = std::min(kPartBytes - have, bytes.size());
    std::copy_n(bytes.begin(), count, &peerPart_[have]);
    bytes = bytes.subspan(count);
    received_ += count;
    if (received_ <= kPartBytes) return {};
    out.insert(out.end(), peerPart_.begin(), peerPart_.end());
  }
  const std::size_t count = std::min(1 + 2 * kPartBytes - received_, bytes.size());
  bytes = bytes.subspan(count);
  received_ += count;
  return {};
}

}  // namespace NimboEngine

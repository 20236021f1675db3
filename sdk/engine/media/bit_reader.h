// Reads the bit fields of a codec's headers, most significant bit first.
//
// Thread: one at a time.
// Ownership: borrows the bytes.
// Failure: beyond the end every bit is 0 and hasFailed() returns true.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace NimboEngine {

class BitReader {
 public:
  explicit BitReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  uint32_t bit() {
    if (at_ >= bytes_.size() * 8) {
      failed_ = true;
      return 0;
    }
    const uint32_t value = bytes_[at_ / 8] >> (7 - at_ % 8) & 1;
    ++at_;
    return value;
  }

  // At most 32 bits.
  uint32_t bits(int count) {
    uint32_t value = 0;
    for (int i = 0; i < count; ++i) value = value << 1 | bit();
    return value;
  }

  void skip(std::size_t count) {
    at_ += count;
    failed_ = failed_ || at_ > bytes_.size() * 8;
  }

  // Exponential-Golomb codes, of H.264 and HEVC.
  uint32_t unsignedGolomb() {
    int zeros = 0;
    while (!failed_ && bit() == 0) ++zeros;
    if (zeros > 31) failed_ = true;
    return failed_ ? 0 : (uint32_t{1} << zeros) - 1 + bits(zeros);
  }

  int32_t signedGolomb() {
    const uint32_t code = unsignedGolomb();
    const auto magnitude = static_cast<int32_t>((code + 1) / 2);
    return code % 2 == 0 ? -magnitude : magnitude;
  }

  bool hasFailed() const { return failed_; }

 private:
  const std::span<const uint8_t> bytes_;
  std::size_t at_ = 0;  // in bits
  bool failed_ = false;
};

}  // namespace NimboEngine

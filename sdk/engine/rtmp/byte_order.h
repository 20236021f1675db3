// The protocol's wire format of integers: big-endian, of two to eight bytes.
//
// Thread: any; the functions keep no state.
// Failure: none; the caller must have checked the length.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace NimboEngine {

template <std::size_t kBytes>
uint64_t readBigEndian(const uint8_t* bytes) {
  static_assert(kBytes >= 1 && kBytes <= 8);
  uint64_t value = 0;
  for (std::size_t i = 0; i < kBytes; ++i) value = value << 8 | bytes[i];
  return value;
}

inline uint16_t readU16(const uint8_t* bytes) {
  return static_cast<uint16_t>(readBigEndian<2>(bytes));
}

inline uint32_t readU24(const uint8_t* bytes) {
  return static_cast<uint32_t>(readBigEndian<3>(bytes));
}

inline uint32_t readU32(const uint8_t* bytes) {
  return static_cast<uint32_t>(readBigEndian<4>(bytes));
}

inline double readDouble(const uint8_t* bytes) {
  return std::bit_cast<double>(readBigEndian<8>(bytes));
}

// Reads the only little-endian integer: a message stream's identifier.
inline uint32_t readLittleU32(const uint8_t* bytes) {
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
         static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

template <std::size_t kBytes>
void appendBigEndian(std::vector<uint8_t>& out, uint64_t value) {
  for (std::size_t i = kBytes; i-- > 0;) out.push_back(static_cast<uint8_t>(value >> 8 * i));
}

inline void appendLittleU32(std::vector<uint8_t>& out, uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<uint8_t>(value >> shift));
}

}  // namespace NimboEngine

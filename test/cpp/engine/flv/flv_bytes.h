// Builders of FLV byte sequences for tests.

#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace NimboEngine::test {

using FlvBytes = std::vector<uint8_t>;

inline void append(FlvBytes& bytes, const FlvBytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

// `count` bytes, the highest first.
inline FlvBytes bigEndian(uint32_t value, int count) {
  FlvBytes bytes;
  for (int i = count - 1; i >= 0; --i) bytes.push_back(static_cast<uint8_t>(value >> 8 * i));
  return bytes;
}

template <class... Parts>
FlvBytes joined(const Parts&... parts) {
  FlvBytes bytes;
  (append(bytes, parts), ...);
  return bytes;
}

inline FlvBytes text(std::string_view characters) {
  return {characters.begin(), characters.end()};
}

inline FlvBytes fileHeader() {
  return {'F', 'L', 'V', 1, 5, 0, 0, 0, 9, 0, 0, 0, 0};
}

// A whole tag with its trailer.
inline FlvBytes tag(uint8_t type, uint32_t timestamp, const FlvBytes& body) {
  const auto size = static_cast<uint32_t>(body.size());
  return joined(FlvBytes{type}, bigEndian(size, 3), bigEndian(timestamp & 0xffffff, 3),
                bigEndian(timestamp >> 24, 1), bigEndian(0, 3), body, bigEndian(size + 11, 4));
}

inline FlvBytes audioTag(uint32_t timestamp, const FlvBytes& body) {
  return tag(8, timestamp, body);
}
inline FlvBytes videoTag(uint32_t timestamp, const FlvBytes& body) {
  return tag(9, timestamp, body);
}

// An H.264 configuration; another level makes another one.
inline FlvBytes avcRecord(uint8_t level = 10) {
  return {1, 66, 0xc0, level, 0xff, 0xe1, 0, 4, 0x67, 66, 0xc0, level, 1, 0, 2, 0x68, 0xce};
}
inline FlvBytes avcConfiguration(uint8_t level = 10) {
  return joined(FlvBytes{0x17, 0, 0, 0, 0}, avcRecord(level));
}
inline FlvBytes avcFrame(bool key, int composition = 0, const FlvBytes& payload = {0, 0, 0, 1, 9}) {
  return joined(FlvBytes{static_cast<uint8_t>(key ? 0x17 : 0x27), 1},
                bigEndian(static_cast<uint32_t>(composition), 3), payload);
}

// AAC, 48 kHz, one channel.
inline FlvBytes aacConfiguration() {
  return {0xaf, 0, 0x11, 0x88};
}
inline FlvBytes aacFrame(const FlvBytes& payload = {0xde, 4}) {
  return joined(FlvBytes{0xaf, 1}, payload);
}

}  // namespace NimboEngine::test

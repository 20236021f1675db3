#include "capture/image_header.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace NimboEngine {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr std::array<uint8_t, 8> kPngSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr std::array<uint8_t, 2> kJpegSignature{0xff, 0xd8};

template <size_t Length>
bool beginsWith(Bytes file, const std::array<uint8_t, Length>& signature) {
  return file.size() >= Length && std::equal(signature.begin(), signature.end(), file.begin());
}

// The most significant byte first.
uint32_t number(Bytes bytes) {
  uint32_t value = 0;
  for (const uint8_t byte : bytes) value = value << 8 | byte;
  return value;
}

// The first chunk tells the size: its length and name, then width and height.
std::optional<ImageHeader> readPng(Bytes file) {
  if (file.size() < 24) return std::nullopt;
  return ImageHeader{ImageKind::kPng, number(file.subspan(16, 4)), number(file.subspan(20, 4))};
}

// Of the markers C0 to CF these three do not begin a frame.
bool beginsFrame(uint8_t marker) {
  return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

// Segments follow each other: a marker, their length without it, their content.
std::optional<ImageHeader> readJpeg(Bytes file) {
  size_t at = kJpegSignature.size();
  while (at + 9 <= file.size() && file[at] == 0xff) {
    const uint8_t marker = file[at + 1];
    if (marker == 0xff) {  // filling
      ++at;
    } else if (beginsFrame(marker)) {  // length, precision, height, width
      return ImageHeader{ImageKind::kJpeg, number(file.subspan(at + 7, 2)),
                         number(file.subspan(at + 5, 2))};
    } else {
      at += 2 + number(file.subspan(at + 2, 2));
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<ImageHeader> readImageHeader(Bytes file) {
  if (beginsWith(file, kPngSignature)) return readPng(file);
  if (beginsWith(file, kJpegSignature)) return readJpeg(file);
  return std::nullopt;
}

}  // namespace NimboEngine

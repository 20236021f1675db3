#include "media/coded_size.h"

#include <algorithm>
#include <array>
#include <vector>

#include "media/bit_reader.h"

namespace NimboEngine {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr std::string_view kH264 = "video/x-h264";
constexpr std::string_view kHevc = "video/x-h265";

bool isConfigured(std::string_view type) {
  return type == kH264 || type == kHevc;
}

// The frame size in a parameter set is within this many bytes, whatever scaling lists precede it.
constexpr std::size_t kHeadBytes = 1024;

constexpr uint32_t bigEndian(uint8_t high, uint8_t low) {
  return static_cast<uint32_t>(high) << 8 | low;
}

// Returns a unit's content without emulation prevention bytes.
std::vector<uint8_t> unescaped(Bytes unit) {
  std::vector<uint8_t> content;
  int zeros = 0;
  for (const uint8_t byte : unit.first(std::min(unit.size(), kHeadBytes))) {
    if (zeros >= 2 && byte == 3) {
      zeros = 0;
      continue;
    }
    zeros = byte == 0 ? zeros + 1 : 0;
    content.push_back(byte);
  }
  return content;
}

void skipScalingList(BitReader& reader, int size) {
  int32_t last = 8;
  int32_t next = 8;
  for (int i = 0; i < size && !reader.hasFailed(); ++i) {
    // Only the low eight bits are used, so that a broken list cannot overflow.
    if (next != 0) next = (last + (reader.signedGolomb() & 0xff)) & 0xff;
    if (next != 0) last = next;
  }
}

void skipScalingLists(BitReader& reader, uint32_t chromaFormat) {
  constexpr int kSmallLists = 6;
  const int lists = chromaFormat == 3 ? 12 : 8;
  for (int i = 0; i < lists && !reader.hasFailed(); ++i) {
    if (reader.bit() != 0) skipScalingList(reader, i < kSmallLists ? 16 : 64);
  }
}

bool hasChromaFields(uint32_t profile) {
  constexpr std::array<uint32_t, 13> kProfiles = {100, 110, 122, 244, 44,  83, 86,
                                                  118, 128, 138, 139, 134, 135};
  return std::ranges::find(kProfiles, profile) != kProfiles.end();
}

void skipPicOrderCount(BitReader& reader) {
  const uint32_t kind = reader.unsignedGolomb();
  if (kind == 0) {
    reader.unsignedGolomb();
  } else if (kind == 1) {
    reader.bit();
    reader.signedGolomb();
    reader.signedGolomb();
    const uint32_t offsets = reader.unsignedGolomb();
    for (uint32_t i = 0; i < offsets && !reader.hasFailed(); ++i) reader.signedGolomb();
  }
}

// Validates a size.
std::optional<CodedSize> sizeOf(uint64_t width, uint64_t height) {
  if (width == 0 || height == 0 || width > UINT32_MAX || height > UINT32_MAX) return std::nullopt;
  return CodedSize{static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
}

// Skips the profile, tier and level of all temporal layers, which precede the size in an HEVC
// sequence parameter set.
void skipHevcProfile(BitReader& reader, uint32_t layers) {
  constexpr int kProfileBits = 88;
  constexpr int kLevelBits = 8;
  reader.skip(kProfileBits + kLevelBits);
  if (layers == 0) return;
  std::array<bool, 8> profiles{};
  std::array<bool, 8> levels{};
  for (uint32_t i = 0; i < 8; ++i) {
    profiles[i] = reader.bit() != 0 && i < layers;
    levels[i] = reader.bit() != 0 && i < layers;
  }
  for (uint32_t i = 0; i < layers; ++i) {
    if (profiles[i]) reader.skip(kProfileBits);
    if (levels[i]) reader.skip(kLevelBits);
  }
}

std::optional<CodedSize> larger(std::optional<CodedSize> first, std::optional<CodedSize> second) {
  if (!first || (second && second->pixels() > first->pixels())) return second;
  return first;
}

std::optional<CodedSize> sizeInUnit(bool hevc, Bytes unit) {
  constexpr uint8_t kH264Sequence = 7;
  constexpr uint8_t kHevcSequence = 33;
  if (unit.empty()) return std::nullopt;
  if (hevc) {
    return (unit[0] >> 1 & 0x3f) == kHevcSequence ? readHevcSize(unit) : std::nullopt;
  }
  return (unit[0] & 0x1f) == kH264Sequence ? readH264Size(unit) : std::nullopt;
}

std::optional<CodedSize> largestWithLengths(bool hevc, std::size_t lengthBytes, Bytes data) {
  std::optional<CodedSize> largest;
  while (data.size() > lengthBytes) {
    uint64_t length = 0;
    for (std::size_t i = 0; i < lengthBytes; ++i) length = length << 8 | data[i];
    data = data.subspan(lengthBytes);
    const Bytes unit = data.first(std::min<uint64_t>(length, data.size()));
    largest = larger(largest, sizeInUnit(hevc, unit));
    data = data.subspan(unit.size());
  }
  return largest;
}

std::optional<CodedSize> largestWithStartCodes(bool hevc, Bytes data) {
  constexpr std::array<uint8_t, 3> kStartCode = {0, 0, 1};
  std::optional<CodedSize> largest;
  while (true) {
    const auto found = std::search(data.begin(), data.end(), kStartCode.begin(), kStartCode.end());
    if (found == data.end()) return largest;
    // The end of a unit is not needed: only its beginning is read.
    data = Bytes(found + kStartCode.size(), data.end());
    largest = larger(largest, sizeInUnit(hevc, data));
  }
}

// Returns the largest size in `count` length-prefixed units of a configuration, and removes them
// from `bytes`.
std::optional<CodedSize> largestInList(bool hevc, std::size_t count, Bytes& bytes) {
  constexpr std::size_t kLengthBytes = 2;
  std::optional<CodedSize> largest;
  for (std::size_t i = 0; i < count && bytes.size() >= kLengthBytes; ++i) {
    const std::size_t length = bigEndian(bytes[0], bytes[1]);
    bytes = bytes.subspan(kLengthBytes);
    const Bytes unit = bytes.first(std::min(length, bytes.size()));
    largest = larger(largest, sizeInUnit(hevc, unit));
    bytes = bytes.subspan(unit.size());
  }
  return largest;
}

// Returns the size in a key frame; other frames have none.
std::optional<CodedSize> vp8Size(Bytes frame) {
  constexpr std::array<uint8_t, 3> kStartCode = {0x9d, 0x01, 0x2a};
  constexpr uint32_t kSizeMask = 0x3fff;
  if (frame.size() < 10 || (frame[0] & 1) != 0) return std::nullopt;
  if (!std::ranges::equal(frame.subspan(3, 3), kStartCode)) return std::nullopt;
  return sizeOf(bigEndian(frame[7], frame[6]) & kSizeMask,
                bigEndian(frame[9], frame[8]) & kSizeMask);
}

// Sorenson H.263. Its predefined sizes are small.
std::optional<CodedSize> sorensonSize(Bytes frame) {
  BitReader reader(frame.first(std::min<std::size_t>(frame.size(), 16)));
  reader.skip(17 + 5 + 8);  // start code, version, time
  const uint32_t kind = reader.bits(3);
  if (kind > 1) return std::nullopt;
  const int bits = kind == 0 ? 8 : 16;
  const uint32_t width = reader.bits(bits);
  const uint32_t height = reader.bits(bits);
  return reader.hasFailed() ? std::nullopt : sizeOf(width, height);
}

}  // namespace

std::optional<CodedSize> readH264Size(std::span<const uint8_t> unit) {
  constexpr uint64_t kBlock = 16;
  const std::vector<uint8_t> content = unescaped(unit);
  BitReader reader(content);
  reader.skip(8);
  const uint32_t profile = reader.bits(8);
  reader.skip(8 + 8);  // constraints, level
  reader.unsignedGolomb();
  if (hasChromaFields(profile)) {
    const uint32_t chromaFormat = reader.unsignedGolomb();
    if (chromaFormat == 3) reader.bit();
    reader.unsignedGolomb();
    reader.unsignedGolomb();
    reader.bit();
    if (reader.bit() != 0) skipScalingLists(reader, chromaFormat);
  }
  reader.unsignedGolomb();
  skipPicOrderCount(reader);
  reader.unsignedGolomb();
  reader.bit();
  const uint64_t columns = uint64_t{reader.unsignedGolomb()} + 1;
  const uint64_t rows = uint64_t{reader.unsignedGolomb()} + 1;
  const bool framesOnly = reader.bit() != 0;
  if (reader.hasFailed()) return std::nullopt;
  return sizeOf(columns * kBlock, rows * kBlock * (framesOnly ? 1 : 2));
}

std::optional<CodedSize> readHevcSize(std::span<const uint8_t> unit) {
  const std::vector<uint8_t> content = unescaped(unit);
  BitReader reader(content);
  reader.skip(16 + 4);
  const uint32_t layers = reader.bits(3);
  reader.bit();
  skipHevcProfile(reader, layers);
  reader.unsignedGolomb();
  if (reader.unsignedGolomb() == 3) reader.bit();
  const uint32_t width = reader.unsignedGolomb();
  const uint32_t height = reader.unsignedGolomb();
  return reader.hasFailed() ? std::nullopt : sizeOf(width, height);
}

std::size_t unitLengthBytes(std::string_view type, std::span<const uint8_t> configuration) {
  const std::size_t at = type == kHevc ? 21 : 4;
  return isConfigured(type) && configuration.size() > at ? (configuration[at] & 3) + 1 : 0;
}

std::optional<CodedSize> largestConfiguredSize(std::string_view type,
                                               std::span<const uint8_t> configuration) {
  constexpr std::size_t kAvcCountAt = 5;
  constexpr std::size_t kHevcCountAt = 22;
  const bool hevc = type == kHevc;
  const std::size_t at = hevc ? kHevcCountAt : kAvcCountAt;
  if (!isConfigured(type) || configuration.size() <= at) return std::nullopt;
  Bytes rest = configuration.subspan(at + 1);
  if (!hevc) return largestInList(false, configuration[at] & 0x1f, rest);
  // Arrays of units of one type each: the type, a count, the units.
  constexpr std::size_t kListHeadBytes = 3;
  std::optional<CodedSize> largest;
  for (int i = 0; i < configuration[at] && rest.size() >= kListHeadBytes; ++i) {
    const std::size_t count = bigEndian(rest[1], rest[2]);
    rest = rest.subspan(kListHeadBytes);
    largest = larger(largest, largestInList(true, count, rest));
  }
  return largest;
}

std::optional<CodedSize> largestCodedSize(std::string_view type, std::size_t lengthBytes,
                                          std::span<const uint8_t> data) {
  const bool hevc = type == kHevc;
  if (isConfigured(type)) {
    return lengthBytes > 0 ? largestWithLengths(hevc, lengthBytes, data)
                           : largestWithStartCodes(hevc, data);
  }
  if (type == "video/x-vp8") return vp8Size(data);
  if (type == "video/x-flash-video") return sorensonSize(data);
  return std::nullopt;
}

}  // namespace NimboEngine

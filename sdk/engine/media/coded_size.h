// The size of the frames that a decoder would allocate, read from the coded video itself: the size
// in a container or from a parser may be wrong or outdated.
//
// Thread: any; keeps no state.
// Failure: no size if the data contain none or are broken.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace NimboEngine {

struct CodedSize {
  uint32_t width = 0;  // pixels, before cropping
  uint32_t height = 0;

  uint64_t pixels() const { return uint64_t{width} * height; }
  bool operator==(const CodedSize&) const = default;
};

// Returns the size in a sequence parameter set, which includes its one-byte header.
std::optional<CodedSize> readH264Size(std::span<const uint8_t> unit);

// The same for HEVC, with its header of two bytes.
std::optional<CodedSize> readHevcSize(std::span<const uint8_t> unit);

// Returns the largest size in a decoder's configuration: the "codec_data" of the caps of H.264
// ("avcC") and HEVC ("hvcC"). None for other types.
std::optional<CodedSize> largestConfiguredSize(std::string_view type,
                                               std::span<const uint8_t> configuration);

// Returns the size of the length prefix of units under such a configuration; 0 if it is not one.
std::size_t unitLengthBytes(std::string_view type, std::span<const uint8_t> configuration);

// Returns the largest size that a part of a stream announces. `type` is the name of its caps, for
// example "video/x-h264". `lengthBytes`: size of the length prefix of H.264 and HEVC units; 0:
// start codes.
std::optional<CodedSize> largestCodedSize(std::string_view type, std::size_t lengthBytes,
                                          std::span<const uint8_t> data);

}  // namespace NimboEngine

// The size of the frames that a decoder would allocate, read from the coded video itself: what a
// container or a parser says of it may be wrong, or be older than the data.
//
// Thread: any; keeps no state.
// Failure: no size, where the data have none or are broken.

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

// Of a sequence parameter set, its one-byte header included.
std::optional<CodedSize> readH264Size(std::span<const uint8_t> unit);

// The same for HEVC, with its header of two bytes.
std::optional<CodedSize> readHevcSize(std::span<const uint8_t> unit);

// The largest size in a decoder's configuration: the "codec_data" of the caps of H.264 ("avcC") and
// HEVC ("hvcC"). None for other types.
std::optional<CodedSize> largestConfiguredSize(std::string_view type,
                                               std::span<const uint8_t> configuration);

// How long the lengths before units are that belong to such a configuration; 0 when it is none.
std::size_t unitLengthBytes(std::string_view type, std::span<const uint8_t> configuration);

// The largest size that a piece of a stream announces. `type` is the name of its caps, for example
// "video/x-h264". `lengthBytes`: H.264 and HEVC units have a length of so many bytes before them;
// 0: start codes.
std::optional<CodedSize> largestCodedSize(std::string_view type, std::size_t lengthBytes,
                                          std::span<const uint8_t> data);

}  // namespace NimboEngine

// What the head of a PNG or JPEG file says, without decoding it.
//
// Thread: any; plain functions.
// Failure: an empty answer when it is neither, or ends before its size is told.

#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace NimboEngine {

enum class ImageKind { kPng, kJpeg };

struct ImageHeader {
  ImageKind kind = ImageKind::kPng;
  uint32_t width = 0;
  uint32_t height = 0;
};

std::optional<ImageHeader> readImageHeader(std::span<const uint8_t> file);

}  // namespace NimboEngine

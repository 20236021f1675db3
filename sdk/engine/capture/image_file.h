// Decodes PNG and JPEG within bounds: files of 32 MB and 40 million pixels at most, and of a file
// with several images the first. The size is read before anything is decoded, and the libraries get
// memory for exactly that: 4 bytes a pixel, besides which a progressive JPEG takes up to 6 bytes a
// pixel while it is decoded.
//
// Thread: any. Blocks while decoding: up to a second at 40 million pixels.
// Ownership: the pixels are the caller's.
// Failure: an error that says what is wrong with the file. GStreamer must have been started.

#pragma once

#include <gst/video/video.h>

#include <cstdint>
#include <span>
#include <string>

#include "base/result.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

struct DecodedImage {
  GstPtr<GstBuffer> pixels;  // four bytes each, blended with black
  GstVideoInfo info{};
};

Result<DecodedImage> decodeImage(std::span<const uint8_t> file);

Result<DecodedImage> decodeImageFile(const std::string& file);

}  // namespace NimboEngine

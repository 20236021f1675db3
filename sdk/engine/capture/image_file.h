// Reads a PNG or JPEG file within bounds: of 32 MB and 40 million pixels at most, and no longer
// than a few seconds. What the file says of its size is checked before anything is decoded.
//
// Thread: any.
// Ownership: the pixels are the caller's.
// Failure: no pixels, and the reason in `problem`. GStreamer must have been started.

#pragma once

#include <gst/video/video.h>

#include <string>

#include "gst/gst_ptr.h"

namespace NimboEngine {

struct DecodedImage {
  GstPtr<GstBuffer> pixels;  // four bytes each, without transparency: black shines through
  GstVideoInfo info{};
};

DecodedImage decodeImageFile(const std::string& file, std::string& problem);

}  // namespace NimboEngine

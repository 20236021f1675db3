// Converts and scales frames into 32-bit pixels.
//
// Thread: one thread at a time.
// Failure: paint() answers false when the frame cannot be read or converted.

#pragma once

#include <gst/video/video.h>

#include <cstdint>

#include "render/picture_converter.h"

namespace NimboEngine {

class FramePainter {
 public:
  explicit FramePainter(ViewMode mode) : converter_(mode, GST_VIDEO_RESAMPLER_METHOD_CUBIC) {}

  // Paints `frame` on `pixels`: rows without gaps, each pixel blue, green, red, alpha. What the
  // picture does not cover becomes black.
  bool paint(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels, Size size);

 private:
  PictureConverter converter_;
};

}  // namespace NimboEngine

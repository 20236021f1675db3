// Converts and scales frames into 32-bit pixels.
//
// Thread: one thread at a time.
// Failure: paint() returns false if the frame cannot be read or converted.

#pragma once

#include <gst/video/video.h>

#include <cstdint>

#include "media/frame_converter.h"
#include "media/frame_rotator.h"
#include "media/view_layout.h"

namespace NimboEngine {

class FramePainter {
 public:
  explicit FramePainter(const ViewStyle& style)
      : style_(style), converter_(style.mode, GST_VIDEO_RESAMPLER_METHOD_CUBIC) {}

  // Paints `frame` on `pixels`: rows without gaps, each pixel blue, green, red, alpha. Pixels that
  // the frame does not cover become black.
  bool paint(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels, Size size);

 private:
  bool paintUpright(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels, Size size);

  const ViewStyle style_;
  FrameRotator turner_;
  FrameConverter converter_;
};

}  // namespace NimboEngine

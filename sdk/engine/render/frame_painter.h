// Converts and scales frames into 32-bit pixels.
//
// Thread: one thread at a time.
// Ownership: keeps a converter for the last combination of frame format and size.
// Failure: paint() answers false when the frame cannot be read or converted.

#pragma once

#include <gst/video/video.h>

#include <cstdint>
#include <memory>

#include "render/frame_turner.h"
#include "render/view_layout.h"

namespace NimboEngine {

class FramePainter {
 public:
  explicit FramePainter(const ViewStyle& style) : style_(style) {}

  // Paints `frame` on `pixels`: rows without gaps, each pixel blue, green, red, alpha. What the
  // picture does not cover becomes black.
  bool paint(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels, Size size);

 private:
  struct FreeConverter {
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
  };

  bool paintUpright(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels, Size size);
  bool prepare(const GstVideoInfo& info, Size size);

  const ViewStyle style_;
  FrameTurner turner_;
  GstVideoInfo source_{};
  GstVideoInfo target_{};
  std::unique_ptr<GstVideoConverter, FreeConverter> converter_;
};

}  // namespace NimboEngine

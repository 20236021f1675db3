// Converts and scales frames into 32-bit pixels.
//
// Thread: one thread at a time.
// Ownership: keeps a converter for the last combination of frame format and size.
// Failure: paint() answers false when the frame cannot be read or converted.

#pragma once

#include <gst/video/video.h>

#include <cstdint>
#include <memory>

#include "render/view_layout.h"

namespace NimboEngine {

class FramePainter {
 public:
  explicit FramePainter(ViewMode mode) : mode_(mode) {}

  // Paints `frame` on `pixels`: rows without gaps, each pixel blue, green, red, alpha. What the
  // picture does not cover becomes black.
  bool paint(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels, Size size);

 private:
  struct FreeConverter {
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
  };

  bool prepare(const GstVideoInfo& info, Size size);

  const ViewMode mode_;
  GstVideoInfo source_{};
  GstVideoInfo target_{};
  std::unique_ptr<GstVideoConverter, FreeConverter> converter_;
};

}  // namespace NimboEngine

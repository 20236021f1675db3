// Converts pictures from one pixel format and size to another.
//
// Thread: one thread at a time.
// Ownership: keeps a converter for the last combination of formats, sizes and places.
// Failure: convert() answers false when a picture cannot be mapped or converted.

#pragma once

#include <gst/video/video.h>

#include <cstdint>
#include <memory>

#include "gst/gst_ptr.h"
#include "media/view_layout.h"

namespace NimboEngine {

class FrameConverter {
 public:
  // Cubic scaling is the finer one, linear scaling the cheaper one by a third. Linear scaling may
  // leave an opaque pixel slightly transparent.
  FrameConverter(ViewMode mode, GstVideoResamplerMethod scaling) : mode_(mode), scaling_(scaling) {}

  // What the picture does not cover of the target becomes black.
  bool convert(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
               const GstVideoInfo& targetInfo);

  // Draws the picture into a place of the target, which is I420, and leaves the rest of the target
  // as it is. What is outside is cut off; nothing at all left is a success too.
  bool draw(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
            const GstVideoInfo& targetInfo, const Rect& place);

 private:
  struct FreeConverter {
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
  };

  bool run(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
           const GstVideoInfo& targetInfo, const Rect& part, const ViewLayout& layout);
  bool prepare(const GstVideoInfo& source, const GstVideoInfo& target, const ViewLayout& layout);

  const ViewMode mode_;
  const GstVideoResamplerMethod scaling_;
  GstVideoInfo source_{};
  GstVideoInfo target_{};
  ViewLayout layout_;
  std::unique_ptr<GstVideoConverter, FreeConverter> converter_;
};

// Pixels of four bytes in rows without gaps, as a picture. The pixels stay the caller's and must
// outlive it. `info` becomes the picture's layout.
GstPtr<GstBuffer> wrapPixels(uint8_t* pixels, Size size, GstVideoFormat format, GstVideoInfo& info);

}  // namespace NimboEngine

// Converts frames from one pixel format and size to another.
//
// Thread: one thread at a time.
// Ownership: keeps a converter for the last combination of formats, sizes and places.
// Failure: convert() returns false if a frame cannot be mapped or converted.

#pragma once

#include <gst/video/video.h>

#include <cstdint>
#include <memory>

#include "gst/gst_ptr.h"
#include "media/view_layout.h"

namespace NimboEngine {

class FrameConverter {
 public:
  // Cubic scaling has the better quality, linear scaling costs a third less. Linear scaling may
  // leave an opaque pixel slightly transparent.
  FrameConverter(ViewMode mode, GstVideoResamplerMethod scaling) : mode_(mode), scaling_(scaling) {}

  // Parts of the target that the frame does not cover become black.
  bool convert(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
               const GstVideoInfo& targetInfo);

  // Draws the frame into a place of the target, which is I420, and leaves the rest of the target
  // unchanged. Parts outside the target are cut off; a place that is entirely outside is a success
  // too.
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

// Wraps pixels of four bytes, in rows without gaps, in a buffer. The pixels stay the caller's and
// must outlive it. `info` becomes the layout.
GstPtr<GstBuffer> wrapPixels(uint8_t* pixels, Size size, GstVideoFormat format, GstVideoInfo& info);

}  // namespace NimboEngine

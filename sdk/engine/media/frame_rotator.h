// Rotates and mirrors I420 frames.
//
// Thread: one at a time.
// Ownership: owns the rotated frame, which is valid until the next call.
// Failure: turn() returns null if the frame cannot be read or is not I420.

#pragma once

#include <gst/video/video.h>

#include "gst/gst_ptr.h"
#include "media/view_layout.h"

namespace NimboEngine {

class FrameRotator {
 public:
  GstBuffer* turn(GstBuffer* frame, const GstVideoInfo& info, const ViewStyle& style);

  // The layout of the rotated frame.
  const GstVideoInfo& info() const { return info_; }

 private:
  bool prepare(const GstVideoInfo& info, const ViewStyle& style);

  GstVideoInfo info_{};
  GstPtr<GstBuffer> turned_;
};

}  // namespace NimboEngine

// The buffers in which captured pictures travel: I420 in one piece, the U plane directly behind the
// last row of Y, the V plane directly behind the last row of U, also where GStreamer's own layout
// would leave a gap (odd heights). Each buffer carries its layout as GstVideoMeta.
//
// Thread: acquire() on one thread; buffers may be released anywhere, also after the pool's end.
// Ownership: buffers return to the pool when their last reference goes.
// Failure: acquire() answers null when there is no memory.

#pragma once

#include <gst/video/video.h>

#include "capture/frame_consumer.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

// The layout that GStreamer's elements give to pictures of this format.
GstVideoInfo pictureInfo(const VideoFormat& format);

// The layout of the pool's buffers.
GstVideoInfo tightInfo(const VideoFormat& format);

// Makes a picture laid out like that one plain, from black (16) to white (235).
void fillPlain(uint8_t* pixels, const GstVideoInfo& info, uint8_t luma);

class FramePool {
 public:
  explicit FramePool(const VideoFormat& format);
  ~FramePool();
  FramePool(const FramePool&) = delete;
  FramePool& operator=(const FramePool&) = delete;

  const GstVideoInfo& info() const { return info_; }

  // A buffer that nobody else has.
  GstPtr<GstBuffer> acquire();

 private:
  GstVideoInfo info_;
  GstPtr<GstBufferPool> pool_;
};

}  // namespace NimboEngine

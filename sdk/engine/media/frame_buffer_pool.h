// Recycled buffers for frames of one layout. Each buffer carries the layout as GstVideoMeta.
//
// Thread: acquire() on one thread; buffers may be released anywhere, also after the pool's
//   destruction.
// Ownership: buffers return to the pool with their last reference.
// Failure: acquire() returns null when there is no memory.

#pragma once

#include <gst/video/video.h>

#include "gst/gst_ptr.h"

namespace NimboEngine {

class FrameBufferPool {
 public:
  explicit FrameBufferPool(const GstVideoInfo& info);
  ~FrameBufferPool();
  FrameBufferPool(const FrameBufferPool&) = delete;
  FrameBufferPool& operator=(const FrameBufferPool&) = delete;

  const GstVideoInfo& info() const { return info_; }

  // Returns a writable buffer that is not in use elsewhere.
  GstPtr<GstBuffer> acquire();

 private:
  GstVideoInfo info_;
  GstPtr<GstBufferPool> pool_;
};

}  // namespace NimboEngine

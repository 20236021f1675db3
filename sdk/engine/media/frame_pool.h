// The buffer pool of captured frames: the form of media/frame_form.h in one contiguous block.
//
// Thread, ownership, failure: see FrameBufferPool.

#pragma once

#include <gst/video/video.h>

#include "media/frame_buffer_pool.h"
#include "media/frame_consumer.h"

namespace NimboEngine {

// The layout that GStreamer's elements give to captured frames of this format.
GstVideoInfo frameInfo(const VideoFormat& format);

// The layout of the pool's buffers.
GstVideoInfo tightInfo(const VideoFormat& format);

// Fills a frame of that layout with one grey level, from black (16) to white (235).
void fillPlain(uint8_t* pixels, const GstVideoInfo& info, uint8_t luma);

class FramePool : public FrameBufferPool {
 public:
  explicit FramePool(const VideoFormat& format) : FrameBufferPool(tightInfo(format)) {}
};

}  // namespace NimboEngine

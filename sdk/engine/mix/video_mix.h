// Draws a mix: a background, and pictures at their places on it.
//
// Thread: one at a time.
// Ownership: owns the buffers' pool; the buffers drawn are the caller's.
// Failure: null when there is no memory. A picture that cannot be read is left out.

#pragma once

#include <gst/video/video.h>

#include <memory>
#include <vector>

#include "media/frame_converter.h"
#include "media/frame_pool.h"
#include "mix/mix_layout.h"
#include "players/remote_stream.h"

namespace NimboEngine {

class VideoMix {
 public:
  // What is drawn from now on. The layout's users are not looked at.
  void setFormat(const VideoFormat& format);
  void setLayout(const MixLayout& layout);

  // `frames` has one for each place of the layout; what is none leaves its place free. A format
  // and a layout must have been set.
  GstPtr<GstBuffer> draw(const std::vector<std::optional<RemoteStream::Frame>>& frames);

  // The layout of what is drawn.
  const GstVideoInfo& info() const { return pool_->info(); }

 private:
  void fillBackground(GstBuffer* canvas) const;

  std::unique_ptr<FramePool> pool_;
  uint32_t background_ = 0;
  std::vector<Rect> places_;
  std::vector<FrameConverter> converters_;  // one for each place
};

}  // namespace NimboEngine

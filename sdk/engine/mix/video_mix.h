// Draws a mix: a background, and frames at their places on it.
//
// Thread: one at a time.
// Ownership: owns the buffers' pool; the buffers drawn are the caller's.
// Failure: null if there is no memory. A frame that cannot be read is left out.

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
  // Sets the format and layout of what is drawn from now on. The layout's users are not used.
  void setFormat(const VideoFormat& format);
  void setLayout(const MixLayout& layout);

  // `frames` has one entry for each place of the layout; an empty one leaves its place free. A
  // format and a layout must have been set.
  GstPtr<GstBuffer> draw(const std::vector<std::optional<RemoteStream::Frame>>& frames);

  // The format of the drawn frames.
  const GstVideoInfo& info() const { return pool_->info(); }

 private:
  void fillBackground(GstBuffer* canvas) const;

  std::unique_ptr<FramePool> pool_;
  uint32_t background_ = 0;
  std::vector<Rect> places_;
  std::vector<FrameConverter> converters_;  // one for each place
};

}  // namespace NimboEngine

// Clocked video output: at every tick of the frame rate one frame goes through the frame callback
// to the consumers, whatever the source does. FrameChoice selects it; a placeholder image goes to
// the consumers only.
//
// Thread: the setters on any thread; callback and consumers are called on the tick thread.
// Ownership: the consumer list must outlive the ticker.
// Failure: a tick without memory for its frame is left out.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "base/sink_list.h"
#include "capture/frame_choice.h"
#include "capture/ticker.h"
#include "media/frame_consumer.h"
#include "media/frame_pool.h"

namespace NimboEngine {

// Called on the video tick thread, before the consumers. `origin` is that of the captured frame;
// `pixels` is one contiguous I420 frame with the layout `info`, and may be changed in place during
// the call.
using FrameCallback =
    std::function<void(FrameOrigin origin, uint8_t* pixels, const GstVideoInfo& info)>;

class VideoTicker {
 public:
  VideoTicker(const VideoFormat& format, FrameCallback onFrame, SinkList<FrameConsumer>& consumers);

  FrameChoice& choice() { return choice_; }

  void setRate(int fps) { ticker_.setRate(static_cast<uint32_t>(fps)); }

 private:
  void tick(GstClockTime time);
  GstPtr<GstBuffer> capture(GstVideoInfo& info);
  bool draw(GstBuffer* frame, const ShownFrame& shown);

  const FrameCallback onFrame_;
  SinkList<FrameConsumer>& consumers_;
  FrameChoice choice_;
  VideoFormat format_;  // of the pool; tick thread only, like the pool
  std::unique_ptr<FramePool> pool_;
  Ticker ticker_;  // last: its thread uses everything above
};

}  // namespace NimboEngine

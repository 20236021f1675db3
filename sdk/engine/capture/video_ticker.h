// The rhythm of the picture: at every tick of the frame rate one frame goes through the frame
// callback to the consumers, whatever the source does. It shows the source's newest picture, the
// last one when none is new, black before the first and where the camera is muted.
//
// Thread: the setters on any thread; callback and consumers are called on the tick thread.
// Ownership: shares the mailbox; the consumer list must outlive the ticker.
// Failure: a tick without memory for its frame is left out.

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "capture/consumer_list.h"
#include "capture/frame_pool.h"
#include "capture/picture_mailbox.h"
#include "capture/ticker.h"

namespace NimboEngine {

// Called on the video tick thread, before the consumers. `origin` is that of the picture that is
// shown; `pixels` is one contiguous I420 picture
// laid out as `info` says, and may be changed in place during the call.
using FrameCallback =
    std::function<void(PictureOrigin origin, uint8_t* pixels, const GstVideoInfo& info)>;

class VideoTicker {
 public:
  VideoTicker(const VideoFormat& format, FrameCallback onFrame, ConsumerList& consumers);

  // Which source is shown from now on; its predecessor's last picture until it has one.
  void setSource(std::shared_ptr<const PictureMailbox> source, PictureOrigin origin);

  // The camera's pictures become black.
  void setCameraBlack(bool black) { cameraBlack_ = black; }

  void setRate(int fps) { ticker_.setRate(static_cast<uint32_t>(fps)); }

 private:
  void tick(GstClockTime time);
  bool draw(GstBuffer* frame);
  void look();

  const FrameCallback onFrame_;
  ConsumerList& consumers_;
  const GstVideoInfo pictureInfo_;
  FramePool pool_;
  std::atomic<bool> cameraBlack_{false};
  std::mutex mutex_;
  std::shared_ptr<const PictureMailbox> source_;
  PictureOrigin origin_ = PictureOrigin::kCamera;
  // The picture that is shown, and its origin; tick thread only.
  GstPtr<GstBuffer> shown_;
  PictureOrigin shownOrigin_ = PictureOrigin::kCamera;
  Ticker ticker_;  // last: its thread uses everything above
};

}  // namespace NimboEngine

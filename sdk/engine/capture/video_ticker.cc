#include "capture/video_ticker.h"

#include <cstring>
#include <utility>

#include "log/log.h"

namespace NimboEngine {
namespace {

// Black in the limited range that I420 video uses.
void fillBlack(uint8_t* pixels, const GstVideoInfo& info) {
  const size_t luma = GST_VIDEO_INFO_PLANE_OFFSET(&info, 1);
  std::memset(pixels, 16, luma);
  std::memset(pixels + luma, 128, GST_VIDEO_INFO_SIZE(&info) - luma);
}

}  // namespace

VideoTicker::VideoTicker(const VideoFormat& format, FrameCallback onFrame, ConsumerList& consumers)
    : onFrame_(std::move(onFrame)),
      consumers_(consumers),
      pictureInfo_(pictureInfo(format)),
      pool_(format),
      ticker_("capture-video", static_cast<uint32_t>(format.fps), 0,
              [this](uint64_t, GstClockTime time) { tick(time); }) {}

void VideoTicker::setSource(std::shared_ptr<const PictureMailbox> source, PictureOrigin origin) {
  std::lock_guard lock(mutex_);
  source_ = std::move(source);
  origin_ = origin;
}

void VideoTicker::tick(GstClockTime time) {
  GstPtr<GstBuffer> frame = pool_.acquire();
  if (!frame || !draw(frame.get())) {
    NIMBO_LOG_ERROR("no memory for a captured frame");
    return;
  }
  GST_BUFFER_PTS(frame.get()) = time;
  consumers_.each(
      [&](FrameConsumer& consumer) { consumer.onVideoFrame(frame.get(), pool_.info(), time); });
}

bool VideoTicker::draw(GstBuffer* frame) {
  const GstVideoInfo& info = pool_.info();
  GstVideoFrame target;
  if (!gst_video_frame_map(&target, &info, frame, GST_MAP_WRITE)) return false;
  auto* pixels = static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&target, 0));
  look();
  const bool black = !shown_ || (cameraBlack_ && shownOrigin_ == PictureOrigin::kCamera);
  GstVideoFrame source;
  if (!black && gst_video_frame_map(&source, &pictureInfo_, shown_.get(), GST_MAP_READ)) {
    gst_video_frame_copy(&target, &source);
    gst_video_frame_unmap(&source);
  } else {
    fillBlack(pixels, info);
  }
  if (onFrame_) onFrame_(shownOrigin_, pixels, info);
  gst_video_frame_unmap(&target);
  return true;
}

void VideoTicker::look() {
  std::shared_ptr<const PictureMailbox> source;
  PictureOrigin origin;
  {
    std::lock_guard lock(mutex_);
    source = source_;
    origin = origin_;
  }
  if (GstPtr<GstBuffer> latest = source ? source->latest() : nullptr) {
    shown_ = std::move(latest);
    shownOrigin_ = origin;
  }
}

}  // namespace NimboEngine

#include "capture/video_ticker.h"

#include <utility>

#include "base/log.h"

namespace NimboEngine {
namespace {

constexpr uint8_t kBlack = 16;

}  // namespace

VideoTicker::VideoTicker(const VideoFormat& format, FrameCallback onFrame,
                         SinkList<FrameConsumer>& consumers)
    : onFrame_(std::move(onFrame)),
      consumers_(consumers),
      choice_(format),
      format_(format),
      pool_(std::make_unique<FramePool>(format)),
      ticker_("capture-video", static_cast<uint32_t>(format.fps), 0,
              [this](uint64_t, GstClockTime time) { tick(time); }) {}

void VideoTicker::tick(GstClockTime time) {
  GstVideoInfo info;
  GstPtr<GstBuffer> frame = capture(info);
  if (!frame) {
    NIMBO_LOG_ERROR("no memory for a captured frame");
    return;
  }
  // The callback has received the captured frame; it does not get the placeholder.
  if (const ShownFrame image = choice_.placeholder(); image.buffer) {
    frame.reset(gst_buffer_copy(image.buffer.get()));  // the pixels are shared
    info = tightInfo(image.format);
  }
  GST_BUFFER_PTS(frame.get()) = time;
  consumers_.each([&](FrameConsumer& consumer) { consumer.onVideoFrame(frame.get(), info, time); });
}

// Returns the frame of this tick, with its layout; null if there is no memory.
GstPtr<GstBuffer> VideoTicker::capture(GstVideoInfo& info) {
  const ShownFrame shown = choice_.captured();
  if (shown.format.width != format_.width || shown.format.height != format_.height) {
    format_ = shown.format;
    pool_ = std::make_unique<FramePool>(format_);
  }
  info = pool_->info();
  GstPtr<GstBuffer> frame = pool_->acquire();
  return frame && draw(frame.get(), shown) ? std::move(frame) : nullptr;
}

bool VideoTicker::draw(GstBuffer* frame, const ShownFrame& shown) {
  const GstVideoInfo& info = pool_->info();
  GstVideoFrame target;
  if (!gst_video_frame_map(&target, &info, frame, GST_MAP_WRITE)) return false;
  auto* pixels = static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&target, 0));
  const GstVideoInfo layout = frameInfo(shown.format);
  GstVideoFrame source;
  if (shown.buffer && gst_video_frame_map(&source, &layout, shown.buffer.get(), GST_MAP_READ)) {
    gst_video_frame_copy(&target, &source);
    gst_video_frame_unmap(&source);
  } else {
    fillPlain(pixels, info, kBlack);
  }
  if (onFrame_) onFrame_(shown.origin, pixels, info);
  gst_video_frame_unmap(&target);
  return true;
}

}  // namespace NimboEngine

#include "play/play_output.h"

#include <utility>

namespace NimboEngine {
namespace {

bool isInOnePiece(const GstVideoInfo& info) {
  const auto end = [&info](int plane) {
    return info.offset[plane] + static_cast<gsize>(GST_VIDEO_INFO_PLANE_STRIDE(&info, plane)) *
                                    static_cast<gsize>(GST_VIDEO_INFO_COMP_HEIGHT(&info, plane));
  };
  return info.offset[0] == 0 && info.offset[1] == end(0) && info.offset[2] == end(1);
}

bool hasLayout(GstBuffer* buffer, const GstVideoInfo& info) {
  const GstVideoMeta* meta = gst_buffer_get_video_meta(buffer);
  if (!meta) return true;
  for (guint plane = 0; plane < 3; ++plane) {
    if (meta->offset[plane] != info.offset[plane] || meta->stride[plane] != info.stride[plane]) {
      return false;
    }
  }
  return true;
}

bool copyFrame(GstBuffer* from, GstVideoInfo& fromInfo, GstBuffer* to, GstVideoInfo& toInfo) {
  GstVideoFrame source;
  if (!gst_video_frame_map(&source, &fromInfo, from, GST_MAP_READ)) return false;
  GstVideoFrame target;
  const bool mapped = gst_video_frame_map(&target, &toInfo, to, GST_MAP_WRITE);
  if (mapped) {
    gst_video_frame_copy(&target, &source);
    gst_video_frame_unmap(&target);
  }
  gst_video_frame_unmap(&source);
  return mapped;
}

}  // namespace

PlayOutput::PlayOutput(const LatencySettings& latency, Handlers handlers)
    : handlers_(std::move(handlers)),
      presenter_(latency, {.onFrame = handlers_.onFrame, .onAudio = handlers_.onAudio}) {}

PlayOutput::~PlayOutput() = default;

void PlayOutput::close() {
  presenter_.close();
}

void PlayOutput::setMode(LumoRtc::LumoLivePlayMode mode) {
  presenter_.setLive(mode == LumoRtc::kLumoLivePlayModeLive);
  mode_ = mode;
}

void PlayOutput::deliverVideo(GstSample* sample, GstClockTime timestamp) {
  GstBuffer* buffer = gst_sample_get_buffer(sample);
  if (!buffer || !adopt(gst_sample_get_caps(sample))) return;
  meter.addPicture(info_.width, info_.height);
  GstPtr<GstBuffer> frame = isUsable(buffer) ? share(buffer) : inOnePiece(buffer);
  if (frame) presenter_.pushVideo(std::move(frame), ownInfo_, std::chrono::nanoseconds(timestamp));
}

void PlayOutput::deliverAudio(GstBuffer* buffer, GstClockTime timestamp) {
  meter.addSound();
  presenter_.pushAudio(share(buffer), std::chrono::nanoseconds(timestamp));
}

PlayCounts PlayOutput::counts() const {
  PlayCounts counts = meter.counts();
  counts.presented = presenter_.counts();
  return counts;
}

std::chrono::milliseconds PlayOutput::takeWorstDelay(Presenter::Time now) {
  return presenter_.takeWorstDelay(now);
}

bool PlayOutput::adopt(GstCaps* caps) {
  if (caps && caps == caps_.get()) return true;
  if (!caps || !gst_video_info_from_caps(&info_, caps)) return false;
  caps_.reset(gst_caps_ref(caps));
  pool_.reset();
  comesInOnePiece_ = isInOnePiece(info_);
  ownInfo_ = info_;
  return true;
}

// Whether the decoder's own buffer will do: the application may write into what it is given.
bool PlayOutput::isUsable(GstBuffer* buffer) const {
  return comesInOnePiece_ && hasLayout(buffer, info_) && gst_buffer_n_memory(buffer) == 1 &&
         gst_buffer_is_writable(buffer);
}

GstPtr<GstBuffer> PlayOutput::inOnePiece(GstBuffer* buffer) {
  if (!pool_) {
    pool_ = std::make_unique<FramePool>(VideoFormat{info_.width, info_.height, 0});
    ownInfo_ = pool_->info();
    ownInfo_.colorimetry = info_.colorimetry;
  }
  GstPtr<GstBuffer> copy = pool_->acquire();
  return copy && copyFrame(buffer, info_, copy.get(), ownInfo_) ? std::move(copy) : nullptr;
}

}  // namespace NimboEngine

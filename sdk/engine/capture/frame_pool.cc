#include "capture/frame_pool.h"

#include <cstring>

namespace NimboEngine {

// I420 without gaps between the planes. Strides stay as GStreamer has them (a multiple of 4).
GstVideoInfo tightInfo(const VideoFormat& format) {
  GstVideoInfo info = pictureInfo(format);
  const auto size = [&info](int plane) {
    return static_cast<gsize>(GST_VIDEO_INFO_PLANE_STRIDE(&info, plane)) *
           static_cast<gsize>(GST_VIDEO_INFO_COMP_HEIGHT(&info, plane));
  };
  info.offset[1] = size(0);
  info.offset[2] = info.offset[1] + size(1);
  info.size = info.offset[2] + size(2);
  return info;
}

void fillPlain(uint8_t* pixels, const GstVideoInfo& info, uint8_t luma) {
  const size_t chroma = GST_VIDEO_INFO_PLANE_OFFSET(&info, 1);
  std::memset(pixels, luma, chroma);
  std::memset(pixels + chroma, 128, GST_VIDEO_INFO_SIZE(&info) - chroma);
}

GstVideoInfo pictureInfo(const VideoFormat& format) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, static_cast<guint>(format.width),
                            static_cast<guint>(format.height));
  info.fps_n = format.fps;
  info.fps_d = 1;
  return info;
}

FramePool::FramePool(const VideoFormat& format)
    : info_(tightInfo(format)), pool_(gst_buffer_pool_new()) {
  const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info_));
  GstStructure* config = gst_buffer_pool_get_config(pool_.get());
  gst_buffer_pool_config_set_params(config, caps.get(), static_cast<guint>(info_.size), 2, 0);
  gst_buffer_pool_set_config(pool_.get(), config);  // takes the configuration
  gst_buffer_pool_set_active(pool_.get(), TRUE);
}

FramePool::~FramePool() {
  gst_buffer_pool_set_active(pool_.get(), FALSE);
}

GstPtr<GstBuffer> FramePool::acquire() {
  GstBuffer* buffer = nullptr;
  if (gst_buffer_pool_acquire_buffer(pool_.get(), &buffer, nullptr) != GST_FLOW_OK) return nullptr;
  if (!gst_buffer_get_video_meta(buffer)) {
    GstVideoMeta* meta = gst_buffer_add_video_meta_full(
        buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_INFO_FORMAT(&info_),
        static_cast<guint>(info_.width), static_cast<guint>(info_.height), 3, info_.offset,
        info_.stride);
    // Stays on the buffer for its next use.
    meta->meta.flags = static_cast<GstMetaFlags>(meta->meta.flags | GST_META_FLAG_POOLED);
  }
  return GstPtr<GstBuffer>(buffer);
}

}  // namespace NimboEngine

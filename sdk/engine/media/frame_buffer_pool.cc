#include "media/frame_buffer_pool.h"

namespace NimboEngine {

FrameBufferPool::FrameBufferPool(const GstVideoInfo& info)
    : info_(info), pool_(gst_buffer_pool_new()) {
  const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info_));
  GstStructure* config = gst_buffer_pool_get_config(pool_.get());
  gst_buffer_pool_config_set_params(config, caps.get(), static_cast<guint>(info_.size), 2, 0);
  gst_buffer_pool_set_config(pool_.get(), config);  // takes the configuration
  gst_buffer_pool_set_active(pool_.get(), TRUE);
}

FrameBufferPool::~FrameBufferPool() {
  gst_buffer_pool_set_active(pool_.get(), FALSE);
}

GstPtr<GstBuffer> FrameBufferPool::acquire() {
  GstBuffer* buffer = nullptr;
  if (gst_buffer_pool_acquire_buffer(pool_.get(), &buffer, nullptr) != GST_FLOW_OK) return nullptr;
  if (!gst_buffer_get_video_meta(buffer)) {
    GstVideoMeta* meta = gst_buffer_add_video_meta_full(
        buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_INFO_FORMAT(&info_),
        static_cast<guint>(info_.width), static_cast<guint>(info_.height),
        GST_VIDEO_INFO_N_PLANES(&info_), info_.offset, info_.stride);
    // Stays on the buffer for its next use.
    meta->meta.flags = static_cast<GstMetaFlags>(meta->meta.flags | GST_META_FLAG_POOLED);
  }
  return GstPtr<GstBuffer>(buffer);
}

}  // namespace NimboEngine

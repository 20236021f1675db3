#include "render/frame_painter.h"

#include "gst/gst_ptr.h"

namespace NimboEngine {

bool FramePainter::paint(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels, Size size) {
  if (style_.isUpright()) return paintUpright(frame, info, pixels, size);
  GstBuffer* turned = turner_.turn(frame, info, style_);
  return turned && paintUpright(turned, turner_.info(), pixels, size);
}

bool FramePainter::paintUpright(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels,
                                Size size) {
  if (!prepare(info, size)) return false;
  const GstPtr<GstBuffer> canvas(gst_buffer_new_wrapped_full(GstMemoryFlags{}, pixels, target_.size,
                                                             0, target_.size, nullptr, nullptr));
  GstVideoFrame source;
  if (!gst_video_frame_map(&source, &source_, frame, GST_MAP_READ)) return false;
  GstVideoFrame target;
  const bool mapped = gst_video_frame_map(&target, &target_, canvas.get(), GST_MAP_WRITE);
  if (mapped) {
    gst_video_converter_frame(converter_.get(), &source, &target);
    gst_video_frame_unmap(&target);
  }
  gst_video_frame_unmap(&source);
  return mapped;
}

bool FramePainter::prepare(const GstVideoInfo& info, Size size) {
  const Size current{target_.width, target_.height};
  if (converter_ && current == size && gst_video_info_is_equal(&info, &source_)) return true;
  source_ = info;
  gst_video_info_set_format(&target_, GST_VIDEO_FORMAT_BGRA, static_cast<guint>(size.width),
                            static_cast<guint>(size.height));
  target_.fps_n = source_.fps_n;  // a converter refuses to change the rate
  target_.fps_d = source_.fps_d;
  const auto [from, to] = layOut({source_.width, source_.height}, size, style_.mode);
  // The converter takes the configuration.
  converter_.reset(gst_video_converter_new(
      &source_, &target_,
      gst_structure_new(
          "view", GST_VIDEO_CONVERTER_OPT_SRC_X, G_TYPE_INT, from.x, GST_VIDEO_CONVERTER_OPT_SRC_Y,
          G_TYPE_INT, from.y, GST_VIDEO_CONVERTER_OPT_SRC_WIDTH, G_TYPE_INT, from.width,
          GST_VIDEO_CONVERTER_OPT_SRC_HEIGHT, G_TYPE_INT, from.height,
          GST_VIDEO_CONVERTER_OPT_DEST_X, G_TYPE_INT, to.x, GST_VIDEO_CONVERTER_OPT_DEST_Y,
          G_TYPE_INT, to.y, GST_VIDEO_CONVERTER_OPT_DEST_WIDTH, G_TYPE_INT, to.width,
          GST_VIDEO_CONVERTER_OPT_DEST_HEIGHT, G_TYPE_INT, to.height, nullptr)));
  return converter_ != nullptr;
}

}  // namespace NimboEngine

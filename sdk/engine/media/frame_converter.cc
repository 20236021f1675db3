#include "media/frame_converter.h"

#include <utility>

namespace NimboEngine {
namespace {

// Restricts a mapped frame to a part of it.
void narrow(GstVideoFrame& frame, const Rect& part) {
  for (guint plane = 0; plane < GST_VIDEO_FRAME_N_PLANES(&frame); ++plane) {
    const GstVideoFormatInfo* format = frame.info.finfo;
    const int x = part.x >> GST_VIDEO_FORMAT_INFO_W_SUB(format, plane);
    const int y = part.y >> GST_VIDEO_FORMAT_INFO_H_SUB(format, plane);
    frame.data[plane] = static_cast<uint8_t*>(frame.data[plane]) + x +
                        ptrdiff_t{y} * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
  }
  frame.info.width = part.width;
  frame.info.height = part.height;
}

}  // namespace

bool FrameConverter::convert(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
                             const GstVideoInfo& targetInfo) {
  const Size view{targetInfo.width, targetInfo.height};
  return run(source, sourceInfo, target, targetInfo, {0, 0, view.width, view.height},
             layOut({sourceInfo.width, sourceInfo.height}, view, mode_));
}

bool FrameConverter::draw(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
                          const GstVideoInfo& targetInfo, const Rect& place) {
  auto layout = layOut({sourceInfo.width, sourceInfo.height}, place,
                       {targetInfo.width, targetInfo.height}, mode_);
  if (!layout) return true;
  const Rect part =
      std::exchange(layout->target, {0, 0, layout->target.width, layout->target.height});
  return run(source, sourceInfo, target, targetInfo, part, *layout);
}

// `part` of the target is treated as a frame of its own: GStreamer's converter does not reliably
// leave borders unchanged.
bool FrameConverter::run(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
                         const GstVideoInfo& targetInfo, const Rect& part,
                         const ViewLayout& layout) {
  GstVideoInfo whole = targetInfo;
  GstVideoInfo partInfo = targetInfo;
  partInfo.width = part.width;
  partInfo.height = part.height;
  if (!prepare(sourceInfo, partInfo, layout)) return false;
  GstVideoFrame from;
  if (!gst_video_frame_map(&from, &source_, source, GST_MAP_READ)) return false;
  GstVideoFrame to;
  const bool mapped = gst_video_frame_map(&to, &whole, target, GST_MAP_WRITE);
  if (mapped) {
    narrow(to, part);
    gst_video_converter_frame(converter_.get(), &from, &to);
    gst_video_frame_unmap(&to);
  }
  gst_video_frame_unmap(&from);
  return mapped;
}

bool FrameConverter::prepare(const GstVideoInfo& source, const GstVideoInfo& target,
                             const ViewLayout& layout) {
  GstVideoInfo atSourceRate = target;
  atSourceRate.fps_n = source.fps_n;  // a converter refuses to change the rate
  atSourceRate.fps_d = source.fps_d;
  if (converter_ && gst_video_info_is_equal(&source, &source_) &&
      gst_video_info_is_equal(&atSourceRate, &target_) && layout == layout_) {
    return true;
  }
  source_ = source;
  target_ = atSourceRate;
  layout_ = layout;
  const auto& [from, to] = layout_;
  // The converter takes the configuration.
  converter_.reset(gst_video_converter_new(
      &source_, &target_,
      gst_structure_new(
          "view", GST_VIDEO_CONVERTER_OPT_SRC_X, G_TYPE_INT, from.x, GST_VIDEO_CONVERTER_OPT_SRC_Y,
          G_TYPE_INT, from.y, GST_VIDEO_CONVERTER_OPT_SRC_WIDTH, G_TYPE_INT, from.width,
          GST_VIDEO_CONVERTER_OPT_SRC_HEIGHT, G_TYPE_INT, from.height,
          GST_VIDEO_CONVERTER_OPT_DEST_X, G_TYPE_INT, to.x, GST_VIDEO_CONVERTER_OPT_DEST_Y,
          G_TYPE_INT, to.y, GST_VIDEO_CONVERTER_OPT_DEST_WIDTH, G_TYPE_INT, to.width,
          GST_VIDEO_CONVERTER_OPT_DEST_HEIGHT, G_TYPE_INT, to.height,
          GST_VIDEO_CONVERTER_OPT_RESAMPLER_METHOD, GST_TYPE_VIDEO_RESAMPLER_METHOD, scaling_,
          nullptr)));
  return converter_ != nullptr;
}

GstPtr<GstBuffer> wrapPixels(uint8_t* pixels, Size size, GstVideoFormat format,
                             GstVideoInfo& info) {
  gst_video_info_set_format(&info, format, static_cast<guint>(size.width),
                            static_cast<guint>(size.height));
  return GstPtr<GstBuffer>(gst_buffer_new_wrapped_full(GstMemoryFlags{}, pixels, info.size, 0,
                                                       info.size, nullptr, nullptr));
}

}  // namespace NimboEngine

#include "render/picture_converter.h"

namespace NimboEngine {

bool PictureConverter::convert(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
                               const GstVideoInfo& targetInfo) {
  const ViewLayout layout =
      layOut({sourceInfo.width, sourceInfo.height}, {targetInfo.width, targetInfo.height}, mode_);
  return prepare(sourceInfo, targetInfo, layout, true) && run(source, target);
}

bool PictureConverter::draw(GstBuffer* source, const GstVideoInfo& sourceInfo, GstBuffer* target,
                            const GstVideoInfo& targetInfo, const Rect& place) {
  const auto layout = layOut({sourceInfo.width, sourceInfo.height}, place,
                             {targetInfo.width, targetInfo.height}, mode_);
  return !layout || (prepare(sourceInfo, targetInfo, *layout, false) && run(source, target));
}

bool PictureConverter::run(GstBuffer* source, GstBuffer* target) {
  GstVideoFrame from;
  if (!gst_video_frame_map(&from, &source_, source, GST_MAP_READ)) return false;
  GstVideoFrame to;
  const bool mapped = gst_video_frame_map(&to, &target_, target, GST_MAP_WRITE);
  if (mapped) {
    gst_video_converter_frame(converter_.get(), &from, &to);
    gst_video_frame_unmap(&to);
  }
  gst_video_frame_unmap(&from);
  return mapped;
}

bool PictureConverter::prepare(const GstVideoInfo& source, const GstVideoInfo& target,
                               const ViewLayout& layout, bool fillsBorder) {
  GstVideoInfo paced = target;
  paced.fps_n = source.fps_n;  // a converter refuses to change the rate
  paced.fps_d = source.fps_d;
  if (converter_ && gst_video_info_is_equal(&source, &source_) &&
      gst_video_info_is_equal(&paced, &target_) && layout == layout_) {
    return true;
  }
  source_ = source;
  target_ = paced;
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
          GST_VIDEO_CONVERTER_OPT_FILL_BORDER, G_TYPE_BOOLEAN, static_cast<gboolean>(fillsBorder),
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

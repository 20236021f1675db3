#include "media/frame_form.h"

namespace NimboEngine {

void setFrameForm(GstVideoInfo& info) {
  info.colorimetry = {GST_VIDEO_COLOR_RANGE_16_235, GST_VIDEO_COLOR_MATRIX_BT709,
                      GST_VIDEO_TRANSFER_BT709, GST_VIDEO_COLOR_PRIMARIES_BT709};
  info.chroma_site = GST_VIDEO_CHROMA_SITE_MPEG2;
  info.par_n = 1;
  info.par_d = 1;
  info.interlace_mode = GST_VIDEO_INTERLACE_MODE_PROGRESSIVE;
}

GstVideoInfo frameInfo(int width, int height) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, static_cast<guint>(width),
                            static_cast<guint>(height));
  setFrameForm(info);
  return info;
}

GstVideoInfo contiguousInfo(int width, int height) {
  GstVideoInfo info = frameInfo(width, height);
  const auto size = [&info](int plane) {
    return static_cast<gsize>(GST_VIDEO_INFO_PLANE_STRIDE(&info, plane)) *
           static_cast<gsize>(GST_VIDEO_INFO_COMP_HEIGHT(&info, plane));
  };
  info.offset[1] = size(0);
  info.offset[2] = info.offset[1] + size(1);
  info.size = info.offset[2] + size(2);
  return info;
}

}  // namespace NimboEngine

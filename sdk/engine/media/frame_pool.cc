#include "media/frame_pool.h"

#include <cstring>

#include "media/frame_form.h"

namespace NimboEngine {

GstVideoInfo tightInfo(const VideoFormat& format) {
  GstVideoInfo info = contiguousInfo(format.width, format.height);
  info.fps_n = format.fps;
  info.fps_d = 1;
  return info;
}

void fillPlain(uint8_t* pixels, const GstVideoInfo& info, uint8_t luma) {
  const size_t chroma = GST_VIDEO_INFO_PLANE_OFFSET(&info, 1);
  std::memset(pixels, luma, chroma);
  std::memset(pixels + chroma, 128, GST_VIDEO_INFO_SIZE(&info) - chroma);
}

GstVideoInfo frameInfo(const VideoFormat& format) {
  GstVideoInfo info = frameInfo(format.width, format.height);
  info.fps_n = format.fps;
  info.fps_d = 1;
  return info;
}

}  // namespace NimboEngine

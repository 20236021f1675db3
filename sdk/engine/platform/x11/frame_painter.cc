#include "platform/x11/frame_painter.h"

namespace NimboEngine {

bool FramePainter::paint(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels, Size size) {
  if (style_.isUpright()) return paintUpright(frame, info, pixels, size);
  GstBuffer* turned = turner_.turn(frame, info, style_);
  return turned && paintUpright(turned, turner_.info(), pixels, size);
}

bool FramePainter::paintUpright(GstBuffer* frame, const GstVideoInfo& info, uint8_t* pixels,
                                Size size) {
  GstVideoInfo canvasInfo;
  const GstPtr<GstBuffer> canvas = wrapPixels(pixels, size, GST_VIDEO_FORMAT_BGRA, canvasInfo);
  return converter_.convert(frame, info, canvas.get(), canvasInfo);
}

}  // namespace NimboEngine

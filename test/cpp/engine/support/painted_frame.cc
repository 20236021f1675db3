#include "support/painted_frame.h"

#include <gtest/gtest.h>

#include <cstring>

#include "media/frame_form.h"

namespace NimboEngine::test {
namespace {

uint8_t* rowOf(const GstVideoFrame& frame, int plane, int row) {
  return static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane)) +
         static_cast<ptrdiff_t>(row) * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
}

}  // namespace

GstVideoInfo i420(Size size) {
  return frameInfo(size.width, size.height);
}

GstPtr<GstBuffer> paintHalves(Size size, const Colour& left, const Colour& right) {
  GstVideoInfo info = i420(size);
  GstPtr<GstBuffer> buffer(gst_buffer_new_allocate(nullptr, info.size, nullptr));
  GstVideoFrame frame;
  EXPECT_TRUE(gst_video_frame_map(&frame, &info, buffer.get(), GST_MAP_WRITE));
  for (int plane = 0; plane < 3; ++plane) {
    const auto width = static_cast<size_t>(GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane));
    const auto index = static_cast<size_t>(plane);
    for (int row = 0; row < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane); ++row) {
      std::memset(rowOf(frame, plane, row), left.at(index), width / 2);
      std::memset(rowOf(frame, plane, row) + width / 2, right.at(index), width - width / 2);
    }
  }
  gst_video_frame_unmap(&frame);
  return buffer;
}

GstPtr<GstBuffer> paint(Size size, const Colour& colour) {
  return paintHalves(size, colour, colour);
}

Colour pixelAt(GstBuffer* buffer, const GstVideoInfo& info, int x, int y) {
  GstVideoInfo layout = info;
  GstVideoFrame frame;
  EXPECT_TRUE(gst_video_frame_map(&frame, &layout, buffer, GST_MAP_READ));
  const Colour colour{rowOf(frame, 0, y)[x], rowOf(frame, 1, y / 2)[x / 2],
                      rowOf(frame, 2, y / 2)[x / 2]};
  gst_video_frame_unmap(&frame);
  return colour;
}

}  // namespace NimboEngine::test

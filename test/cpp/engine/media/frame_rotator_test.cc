#include "media/frame_rotator.h"

#include <gtest/gtest.h>

#include <string>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

// A frame of 3 by 2 whose luma reads "abc" over "def", rotated and read again.
std::string turned(const ViewStyle& style) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, 3, 2);
  const GstPtr<GstBuffer> buffer(gst_buffer_new_allocate(nullptr, info.size, nullptr));
  gst_buffer_memset(buffer.get(), 0, 0, info.size);
  const auto stride = static_cast<gsize>(GST_VIDEO_INFO_PLANE_STRIDE(&info, 0));
  gst_buffer_fill(buffer.get(), 0, "abc", 3);
  gst_buffer_fill(buffer.get(), stride, "def", 3);
  FrameRotator turner;
  GstBuffer* result = turner.turn(buffer.get(), info, style);
  std::string text;
  const auto rowStride = static_cast<gsize>(GST_VIDEO_INFO_PLANE_STRIDE(&turner.info(), 0));
  for (int y = 0; y < turner.info().height; ++y) {
    std::string row(static_cast<size_t>(turner.info().width), '?');
    gst_buffer_extract(result, static_cast<gsize>(y) * rowStride, row.data(), row.size());
    text += (y ? "/" : "") + row;
  }
  return text;
}

TEST(FrameRotator, RotatesClockwiseThenMirrors) {
  ASSERT_TRUE(startGstreamer());
  EXPECT_EQ(turned({.quarterTurns = 0}), "abc/def");
  EXPECT_EQ(turned({.quarterTurns = 1}), "da/eb/fc");
  EXPECT_EQ(turned({.quarterTurns = 2}), "fed/cba");
  EXPECT_EQ(turned({.quarterTurns = 3}), "cf/be/ad");
  EXPECT_EQ(turned({.mirror = true, .quarterTurns = 0}), "cba/fed");
  EXPECT_EQ(turned({.mirror = true, .quarterTurns = 1}), "ad/be/cf");
  EXPECT_EQ(turned({.mirror = true, .quarterTurns = 2}), "def/abc");
  EXPECT_EQ(turned({.mirror = true, .quarterTurns = 3}), "fc/eb/da");
}

}  // namespace
}  // namespace NimboEngine

#include "media/frame_pool.h"

#include <gtest/gtest.h>

#include <vector>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

class FramePoolTest : public testing::TestWithParam<VideoFormat> {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }
};

TEST_P(FramePoolTest, PlanesLieDirectlyBehindEachOther) {
  const VideoFormat format = GetParam();
  FramePool pool(format);
  const GstVideoInfo& info = pool.info();
  const int rows = (format.height + 1) / 2;
  const auto plane = [&info](int i) {
    return static_cast<int>(GST_VIDEO_INFO_PLANE_OFFSET(&info, i));
  };
  EXPECT_EQ(plane(0), 0);
  EXPECT_EQ(plane(1), GST_VIDEO_INFO_PLANE_STRIDE(&info, 0) * format.height);
  EXPECT_EQ(plane(2), plane(1) + GST_VIDEO_INFO_PLANE_STRIDE(&info, 1) * rows);
  EXPECT_EQ(static_cast<int>(info.size), plane(2) + GST_VIDEO_INFO_PLANE_STRIDE(&info, 2) * rows);
  EXPECT_GE(GST_VIDEO_INFO_PLANE_STRIDE(&info, 0), format.width);
  EXPECT_GE(GST_VIDEO_INFO_PLANE_STRIDE(&info, 1), (format.width + 1) / 2);
}

// Also with the layout that GStreamer assumes for such caps: the buffer's own layout must win.
TEST_P(FramePoolTest, BuffersAreMappedInThePoolsLayout) {
  FramePool pool(GetParam());
  const GstVideoInfo assumed = frameInfo(GetParam());
  const GstPtr<GstBuffer> buffer = pool.acquire();
  ASSERT_TRUE(buffer);
  EXPECT_EQ(gst_buffer_get_size(buffer.get()), pool.info().size);
  EXPECT_EQ(gst_buffer_n_memory(buffer.get()), 1U);
  GstVideoFrame frame;
  ASSERT_TRUE(gst_video_frame_map(&frame, &assumed, buffer.get(), GST_MAP_READ));
  const auto* start = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
  for (int i = 1; i < 3; ++i) {
    const auto* plane = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, i));
    EXPECT_EQ(plane - start, static_cast<ptrdiff_t>(pool.info().offset[i]));
  }
  gst_video_frame_unmap(&frame);
}

INSTANTIATE_TEST_SUITE_P(Sizes, FramePoolTest,
                         testing::Values(VideoFormat{1280, 720, 30}, VideoFormat{642, 360, 15},
                                         VideoFormat{641, 361, 30}, VideoFormat{3, 5, 1},
                                         VideoFormat{1, 1, 60}));

TEST(FramePool, ABufferInUseIsNotReused) {
  ASSERT_TRUE(startGstreamer());
  FramePool pool({64, 48, 30});
  std::vector<GstPtr<GstBuffer>> held;
  for (int i = 0; i < 10; ++i) {
    held.push_back(pool.acquire());
    ASSERT_TRUE(held.back());
    EXPECT_TRUE(gst_buffer_is_writable(held.back().get()));
    for (int k = 0; k < i; ++k) EXPECT_NE(held[static_cast<size_t>(k)].get(), held.back().get());
  }
}

TEST(FramePool, ABufferOutlivesItsPool) {
  ASSERT_TRUE(startGstreamer());
  GstPtr<GstBuffer> buffer;
  {
    FramePool pool({64, 48, 30});
    buffer = pool.acquire();
  }
  EXPECT_EQ(gst_buffer_memset(buffer.get(), 0, 1, 64), 64U);
}

}  // namespace
}  // namespace NimboEngine

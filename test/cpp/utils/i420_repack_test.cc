#include "utils/i420_repack.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <ostream>

#include "utils/i420_reference.h"

namespace LumoLivePushElectronSDK {
namespace testing {

void PrintTo(const FrameShape& shape, std::ostream* out) {
  *out << shape.width << "x" << shape.height << " strides " << shape.stride_y << ","
       << shape.stride_u << "," << shape.stride_v;
}

}  // namespace testing

namespace {

using testing::FrameShape;
using testing::OwnedFrame;
using testing::Tight;

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

std::vector<unsigned char> Stored(const OwnedFrame& frame) {
  const auto layout = LayOutI420(frame.raw());
  // Not zero at first: every byte must be written.
  std::vector<unsigned char> target(layout.value().size, 0xEE);
  CopyI420(frame.raw(), *layout, target.data());
  return target;
}

void ExpectAsReference(const FrameShape& shape) {
  const OwnedFrame frame(shape);
  const auto expected = testing::ReferenceFrame(frame);
  const auto layout = LayOutI420(frame.raw());
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout->width, expected.width);
  EXPECT_EQ(layout->height, expected.height);
  EXPECT_EQ(layout->y_length, expected.y_length);
  EXPECT_EQ(layout->u_length, expected.u_length);
  EXPECT_EQ(layout->v_length, expected.v_length);
  EXPECT_EQ(layout->size, expected.bytes.size());
  EXPECT_TRUE(Stored(frame) == expected.bytes) << ::testing::PrintToString(shape);
}

class I420Repack : public ::testing::TestWithParam<FrameShape> {};

TEST_P(I420Repack, WritesTheDocumentedBytes) {
  ExpectAsReference(GetParam());
}

INSTANTIATE_TEST_SUITE_P(WellFormed, I420Repack,
                         ::testing::Values(Tight(640, 360), Tight(642, 360), Tight(1282, 720),
                                           Tight(8, 3), Tight(1, 1), Tight(1, 2), Tight(2, 1),
                                           Tight(7, 3), Tight(9, 5), Tight(641, 361),
                                           FrameShape{642, 360, 704, 352, 352},
                                           FrameShape{642, 359, 704, 352, 400},
                                           FrameShape{640, 359, 704, 352, 400}));

// Strides smaller than the rows: the rows overlap and the last ones run out of bytes.
INSTANTIATE_TEST_SUITE_P(NarrowStrides, I420Repack,
                         ::testing::Values(FrameShape{15, 4, 1, 1, 1}, FrameShape{15, 5, 3, 1, 2},
                                           FrameShape{100, 1, 1, 1, 1}, FrameShape{7, 3, 2, 9, 1},
                                           FrameShape{16, 3, 1, 1, 1}));

TEST(I420RepackSizes, EverySmallSizeAndPadding) {
  for (int32_t width = 1; width <= 33; ++width) {
    for (int32_t height = 1; height <= 9; ++height) {
      for (int32_t padding = 0; padding <= 3; ++padding) {
        const auto tight = Tight(width, height);
        ExpectAsReference({width, height, tight.stride_y + padding, tight.stride_u + 2 * padding,
                           tight.stride_v + 3 * padding});
      }
    }
  }
}

TEST(I420RepackSizes, RowsOf642AreCentredInRowsOf648) {
  const OwnedFrame frame(Tight(642, 360));
  const auto layout = LayOutI420(frame.raw()).value();
  EXPECT_EQ(layout, (I420Layout{648, 360, 648 * 360, 324 * 180, 324 * 180, 648 * 540}));
  const auto stored = Stored(frame);
  for (const std::size_t row : {std::size_t{0}, std::size_t{359}}) {
    const auto* luma = stored.data() + row * 648;
    EXPECT_EQ(std::vector(luma, luma + 4), std::vector<unsigned char>(4, 0));
    EXPECT_EQ(luma[4], frame.bytes()[row * 642]);
    EXPECT_EQ(luma[4 + 641], frame.bytes()[row * 642 + 641]);
    EXPECT_EQ(std::vector(luma + 646, luma + 648), std::vector<unsigned char>(2, 0));
  }
  const auto* u = stored.data() + layout.y_length;
  const auto* source_u = frame.bytes().data() + std::ptrdiff_t{642} * 360;
  EXPECT_EQ(u[1], 0);
  EXPECT_EQ(u[2], source_u[0]);
  EXPECT_EQ(u[2 + 320], source_u[320]);
  EXPECT_EQ(u[323], 0);
}

// Worked out by hand: 2 x 1 in rows of 8, four bytes to the left in luma and two in chroma. Then
// the second luma row of the only step: its two bytes are the chroma, written at the fifth byte
// past the luma, which is V's first.
TEST(I420RepackSizes, OddHeightCopiesOneLumaRowTooMany) {
  unsigned char source[] = {11, 12, 21, 31};
  LumoRtc::LumoLiveVideoRawData frame;
  frame.data = source;
  frame.width = 2;
  frame.height = 1;
  frame.strideY = 2;
  frame.strideU = frame.strideV = 1;
  const auto layout = LayOutI420(frame).value();
  std::vector<unsigned char> target(layout.size, 0xEE);
  CopyI420(frame, layout, target.data());
  EXPECT_EQ(target, (std::vector<unsigned char>{0, 0, 0, 0, 11, 12, 0, 0,  // Y
                                                0, 0, 21, 0,               // U
                                                21, 31, 31, 0}));          // V
}

LumoRtc::LumoLiveVideoRawData Claimed(const FrameShape& shape) {
  static unsigned char byte = 0;
  LumoRtc::LumoLiveVideoRawData frame;
  frame.data = &byte;
  frame.width = shape.width;
  frame.height = shape.height;
  frame.strideY = shape.stride_y;
  frame.strideU = shape.stride_u;
  frame.strideV = shape.stride_v;
  return frame;
}

class I420Refused : public ::testing::TestWithParam<FrameShape> {};

TEST_P(I420Refused, HasNoLayout) {
  EXPECT_FALSE(LayOutI420(Claimed(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(BelowOne, I420Refused,
                         ::testing::Values(FrameShape{0, 2, 8, 4, 4}, FrameShape{8, 0, 8, 4, 4},
                                           FrameShape{8, 2, 0, 4, 4}, FrameShape{8, 2, 8, 0, 4},
                                           FrameShape{8, 2, 8, 4, 0}, FrameShape{-8, 2, 8, 4, 4},
                                           FrameShape{8, -2, 8, 4, 4}, FrameShape{8, 2, -8, 4, 4},
                                           FrameShape{8, 2, 8, -4, 4}, FrameShape{8, 2, 8, 4, -4}));

// The first two would wrap around to small numbers in 32 bits; the last two are too large on one
// side only, in the layout and in the frame.
INSTANTIATE_TEST_SUITE_P(TooLarge, I420Refused,
                         ::testing::Values(FrameShape{65536, 65536, 65536, 32768, 32768},
                                           FrameShape{65529, 65536, 65536, 1, 1},
                                           FrameShape{kMax, kMax, kMax, kMax, kMax},
                                           FrameShape{kMax, 2, 1, 1, 1},
                                           FrameShape{1, 2, kMax, kMax, kMax}));

TEST(I420RefusedOtherwise, NoData) {
  auto frame = Claimed(Tight(8, 2));
  EXPECT_TRUE(LayOutI420(frame));
  frame.data = nullptr;
  EXPECT_FALSE(LayOutI420(frame));
}

TEST(I420RepackSizes, LargestLayoutThatFits) {
  // 4294967295 = 3 * 1431655765, with strides of a third each over one row.
  const auto layout = LayOutI420(Claimed({8, 1, 1431655765, 1431655765, 1431655765}));
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout->size, std::numeric_limits<uint32_t>::max());
  EXPECT_FALSE(LayOutI420(Claimed({8, 1, 1431655766, 1431655765, 1431655765})));
}

}  // namespace
}  // namespace LumoLivePushElectronSDK

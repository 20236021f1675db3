#include "media/i420_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

namespace NimboEngine {
namespace {

constexpr GstVideoColorimetry kForm{GST_VIDEO_COLOR_RANGE_16_235, GST_VIDEO_COLOR_MATRIX_BT709,
                                    GST_VIDEO_TRANSFER_BT709, GST_VIDEO_COLOR_PRIMARIES_BT709};
constexpr uint8_t kUntouched = 0xA5;
constexpr ptrdiff_t kGap = 7;  // bytes that belong to no frame, behind each row

// A frame with padded rows.
struct Frame {
  Frame(int width, int height, int paddedWidth) : planes{} {
    for (size_t i = 0; i < 3; ++i) {
      const int shift = i == 0 ? 0 : 1;
      columns[i] = static_cast<size_t>((width + shift) >> shift);
      padded[i] = static_cast<size_t>(std::max(paddedWidth, width) + shift) >> shift;
      rows[i] = static_cast<size_t>((height + shift) >> shift);
      strides[i] = static_cast<ptrdiff_t>(padded[i]) + kGap;
      planes[i].assign(rows[i] * static_cast<size_t>(strides[i]), kUntouched);
    }
  }

  ConstI420 read() const {
    ConstI420 result{};
    for (size_t i = 0; i < 3; ++i) result[i] = {planes[i].data(), strides[i]};
    return result;
  }
  I420 write() {
    I420 result{};
    for (size_t i = 0; i < 3; ++i) result[i] = {planes[i].data(), strides[i]};
    return result;
  }
  uint8_t& at(size_t plane, size_t x, size_t y) {
    return planes[plane][y * static_cast<size_t>(strides[plane]) + x];
  }
  void fillAtRandom(unsigned seed) {
    for (auto& plane : planes) {
      for (uint8_t& code : plane)
        code = static_cast<uint8_t>((seed = seed * 1664525 + 1013904223) >> 24);
    }
  }

  std::array<std::vector<uint8_t>, 3> planes;
  std::array<size_t, 3> columns{};
  std::array<size_t, 3> padded{};
  std::array<size_t, 3> rows{};
  std::array<ptrdiff_t, 3> strides{};
};

int rounded(double value) {
  return static_cast<int>(std::lround(std::clamp(value, 0.0, 255.0)));
}

// Returns the converted code at a place, by exact arithmetic.
int expected(Frame& source, const ColourTransform& by, size_t plane, size_t x, size_t y) {
  const size_t shift = plane == 0 ? 1 : 0;
  const double u = source.at(1, x >> shift, y >> shift) - 128;
  const double v = source.at(2, x >> shift, y >> shift) - 128;
  if (plane == 1) return rounded(128 + by.uFromU * u + by.uFromV * v);
  if (plane == 2) return rounded(128 + by.vFromU * u + by.vFromV * v);
  return rounded(by.yScale * source.at(0, x, y) + by.yOffset + by.yFromU * u + by.yFromV * v);
}

int largestError(Frame& source, Frame& target, const ColourTransform& by) {
  int largest = 0;
  for (size_t plane = 0; plane < 3; ++plane) {
    for (size_t y = 0; y < source.rows[plane]; ++y) {
      for (size_t x = 0; x < source.columns[plane]; ++x) {
        largest =
            std::max(largest, std::abs(target.at(plane, x, y) - expected(source, by, plane, x, y)));
      }
    }
  }
  return largest;
}

using Coding = std::tuple<GstVideoColorMatrix, GstVideoColorRange>;

class I420ConverterCodings : public testing::TestWithParam<Coding> {};

// Every pair of chroma codes, with luma codes that are 5 apart.
TEST_P(I420ConverterCodings, EveryColourIsWithinOneCodeOfExactArithmetic) {
  const auto [matrix, range] = GetParam();
  const auto by = ColourTransform::between(
      {range, matrix, GST_VIDEO_TRANSFER_UNKNOWN, GST_VIDEO_COLOR_PRIMARIES_UNKNOWN}, kForm);
  Frame source(512, 512, 512);
  for (size_t y = 0; y < 256; ++y) {
    for (size_t x = 0; x < 256; ++x) {
      source.at(1, x, y) = static_cast<uint8_t>(x);
      source.at(2, x, y) = static_cast<uint8_t>(y);
    }
  }
  for (const RowLoops* loops : {&portableRowLoops(), &fastestRowLoops()}) {
    I420Converter converter(by, {}, *loops);
    for (size_t luma = 0; luma < 256; luma += 20) {
      for (size_t y = 0; y < 512; ++y) {
        for (size_t x = 0; x < 512; ++x) {
          const size_t step = x % 2 + 2 * (y % 2);
          source.at(0, x, y) = static_cast<uint8_t>(std::min<size_t>(255, luma + 5 * step));
        }
      }
      Frame target(512, 512, 512);
      converter.convert(source.read(), target.write(), 512, 512, 512);
      ASSERT_LE(largestError(source, target, by), 1) << "luma " << luma;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Codings, I420ConverterCodings,
    testing::Combine(testing::Values(GST_VIDEO_COLOR_MATRIX_BT601, GST_VIDEO_COLOR_MATRIX_BT709,
                                     GST_VIDEO_COLOR_MATRIX_SMPTE240M,
                                     GST_VIDEO_COLOR_MATRIX_BT2020, GST_VIDEO_COLOR_MATRIX_FCC),
                     testing::Values(GST_VIDEO_COLOR_RANGE_16_235, GST_VIDEO_COLOR_RANGE_0_255)));

// Bytes beyond the padded columns are not touched, and both sets of loops agree.
TEST(I420Converter, EverySizeIsConvertedAndPaddedToItsEdges) {
  for (const auto range : {GST_VIDEO_COLOR_RANGE_16_235, GST_VIDEO_COLOR_RANGE_0_255}) {
    for (const auto matrix : {GST_VIDEO_COLOR_MATRIX_BT601, GST_VIDEO_COLOR_MATRIX_BT709}) {
      const auto by = ColourTransform::between(
          {range, matrix, GST_VIDEO_TRANSFER_UNKNOWN, GST_VIDEO_COLOR_PRIMARIES_UNKNOWN}, kForm);
      for (int width = 1; width <= 70; ++width) {
        for (const int height : {1, 2, 5}) {
          const int paddedWidth = (width + 7) / 8 * 8;
          Frame source(width, height, width);
          source.fillAtRandom(static_cast<unsigned>(width * height));
          Frame target(width, height, paddedWidth);
          I420Converter(by, {}).convert(source.read(), target.write(), width, height, paddedWidth);
          Frame portable(width, height, paddedWidth);
          I420Converter(by, {}, portableRowLoops())
              .convert(source.read(), portable.write(), width, height, paddedWidth);
          ASSERT_EQ(target.planes, portable.planes);
          ASSERT_LE(largestError(source, target, by), 1) << width << 'x' << height;
          for (size_t plane = 0; plane < 3; ++plane) {
            const size_t last = target.columns[plane] - 1;
            for (size_t y = 0; y < target.rows[plane]; ++y) {
              for (size_t x = last; x < target.padded[plane]; ++x) {
                ASSERT_EQ(target.at(plane, x, y), target.at(plane, last, y)) << width;
              }
              ASSERT_EQ(target.at(plane, target.padded[plane], y), kUntouched) << width;
            }
          }
        }
      }
    }
  }
}

TEST(I420Converter, KeepsColoursThatHaveTheFormExactly) {
  Frame source(31, 9, 31);
  source.fillAtRandom(3);
  Frame target(31, 9, 31);
  I420Converter(ColourTransform::between(kForm, kForm), {})
      .convert(source.read(), target.write(), 31, 9, 31);
  EXPECT_EQ(largestError(source, target, {}), 0);
}

// On a slope of 4 codes for each sample, a quarter of a sample is one code.
TEST(I420Converter, MovesChromaToTheLeftSiting) {
  Frame source(32, 32, 32);
  for (size_t y = 0; y < 16; ++y) {
    for (size_t x = 0; x < 16; ++x) {
      source.at(1, x, y) = static_cast<uint8_t>(20 + 4 * x);
      source.at(2, x, y) = static_cast<uint8_t>(20 + 4 * y);
    }
  }
  for (const bool betweenColumns : {false, true}) {
    for (const bool onUpperRow : {false, true}) {
      Frame target(32, 32, 32);
      I420Converter({}, {betweenColumns, onUpperRow})
          .convert(source.read(), target.write(), 32, 32, 32);
      for (size_t y = 0; y < 15; ++y) {
        for (size_t x = 1; x < 16; ++x) {
          ASSERT_EQ(target.at(1, x, y), source.at(1, x, y) - (betweenColumns ? 1 : 0));
          ASSERT_EQ(target.at(2, x, y), source.at(2, x, y) + (onUpperRow ? 1 : 0));
        }
      }
      EXPECT_EQ(target.at(1, 0, 0), 20) << "there is nothing on the left to mix with";
      EXPECT_EQ(target.at(2, 0, 15), 80) << "nor below the last row";
    }
  }
}

}  // namespace
}  // namespace NimboEngine

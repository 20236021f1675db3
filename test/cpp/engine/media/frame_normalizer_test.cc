#include "media/frame_normalizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "gst/runtime.h"
#include "media/frame_form.h"
#include "support/colour_bars.h"

namespace NimboEngine {
namespace {

using test::Codes;
using test::codesOf;
using test::kColourBars;
using Use = FrameNormalizer::Use;

struct Source {
  GstVideoFormat format = GST_VIDEO_FORMAT_I420;
  int width = 1280;
  int height = 36;
  GstVideoColorMatrix matrix = GST_VIDEO_COLOR_MATRIX_BT601;
  bool fullRange = false;
  GstVideoChromaSite site = GST_VIDEO_CHROMA_SITE_MPEG2;
  int extraStride = 0;  // multiple of 4
};

size_t barAt(int x, int width) {
  return static_cast<size_t>(x) * kColourBars.size() / static_cast<size_t>(width);
}

GstVideoInfo infoOf(const Source& source) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, source.format, static_cast<guint>(source.width),
                            static_cast<guint>(source.height));
  info.fps_n = 30;
  if (!GST_VIDEO_INFO_IS_RGB(&info)) {
    info.colorimetry.matrix = source.matrix;
    info.colorimetry.range =
        source.fullRange ? GST_VIDEO_COLOR_RANGE_0_255 : GST_VIDEO_COLOR_RANGE_16_235;
  }
  info.chroma_site = source.site;
  return info;
}

void put(GstVideoFrame& frame, guint component, int x, int y, int code) {
  auto* row = static_cast<uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component)) +
              ptrdiff_t{y} * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component);
  auto* sample = row + ptrdiff_t{x} * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, component);
  if (GST_VIDEO_FRAME_COMP_DEPTH(&frame, component) > 8) {
    const auto wide = static_cast<uint16_t>(code);
    std::memcpy(sample, &wide, sizeof wide);
  } else {
    *sample = static_cast<uint8_t>(code);
  }
}

void paintBars(GstVideoFrame& frame, const Source& source) {
  const bool rgb = GST_VIDEO_INFO_IS_RGB(&frame.info);
  for (guint component = 0; component < 3; ++component) {
    const auto bits = static_cast<int>(GST_VIDEO_FRAME_COMP_DEPTH(&frame, component));
    const int columns = GST_VIDEO_FRAME_COMP_WIDTH(&frame, component);
    for (int x = 0; x < columns; ++x) {
      const test::Rgb& colour = kColourBars[barAt(x * source.width / columns, source.width)];
      const double parts[] = {colour.red, colour.green, colour.blue};
      const int code = rgb ? static_cast<int>(std::lround(255 * parts[component]))
                           : codesOf(colour, source.matrix, source.fullRange, bits)[component];
      for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component); ++y) {
        put(frame, component, x, y, code);
      }
    }
  }
}

// The strides of a source whose rows have gaps are described by the buffer, like those of decoders.
GstPtr<GstBuffer> makeBars(const Source& source, const GstVideoInfo& info) {
  GstVideoInfo layout = info;
  if (source.extraStride > 0) {
    GstVideoAlignment alignment;
    gst_video_alignment_reset(&alignment);
    alignment.padding_right = static_cast<guint>(source.extraStride);
    alignment.padding_bottom = 3;
    gst_video_info_align(&layout, &alignment);
  }
  GstPtr<GstBuffer> buffer(gst_buffer_new_allocate(nullptr, layout.size, nullptr));
  gst_buffer_memset(buffer.get(), 0, 0xEE, layout.size);
  if (source.extraStride > 0) {
    gst_buffer_add_video_meta_full(buffer.get(), GST_VIDEO_FRAME_FLAG_NONE, source.format,
                                   static_cast<guint>(source.width),
                                   static_cast<guint>(source.height),
                                   GST_VIDEO_INFO_N_PLANES(&layout), layout.offset, layout.stride);
  }
  GstVideoFrame frame;
  EXPECT_TRUE(gst_video_frame_map(&frame, &layout, buffer.get(), GST_MAP_WRITE));
  paintBars(frame, source);
  gst_video_frame_unmap(&frame);
  GST_BUFFER_PTS(buffer.get()) = 7 * GST_SECOND;
  return buffer;
}

// Contiguous planes, as guaranteed to applications and plug-ins.
Codes codesAt(const uint8_t* pixels, const GstVideoInfo& info, int x, int y) {
  Codes codes{};
  const uint8_t* plane = pixels;
  for (int i = 0; i < 3; ++i) {
    const int shift = i == 0 ? 0 : 1;
    const int stride = GST_VIDEO_INFO_PLANE_STRIDE(&info, i);
    codes.at(static_cast<size_t>(i)) = plane[ptrdiff_t{y >> shift} * stride + (x >> shift)];
    plane += ptrdiff_t{stride} * ((info.height + shift) >> shift);
  }
  return codes;
}

class FrameNormalizerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  // The largest difference between the middles of the bars and their codes in the form.
  static int largestError(const Source& source) {
    FrameNormalizer normalizer(Use::kWrite);
    const GstVideoInfo info = infoOf(source);
    const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info));
    const auto frame = normalizer.normalize(makeBars(source, info), caps.get());
    EXPECT_TRUE(frame);
    if (!frame) return 256;
    expectForm(*frame, source);
    GstMapInfo map;
    EXPECT_TRUE(gst_buffer_map(frame->buffer.get(), &map, GST_MAP_READWRITE));
    int largest = 0;
    for (size_t bar = 0; bar < kColourBars.size(); ++bar) {
      const int x =
          static_cast<int>(2 * bar + 1) * source.width / static_cast<int>(2 * kColourBars.size());
      const Codes expected = test::formCodesOf(kColourBars[bar]);
      for (const int y : {0, source.height / 2, source.height - 1}) {
        const Codes codes = codesAt(map.data, frame->info, x, y);
        for (size_t i = 0; i < 3; ++i)
          largest = std::max(largest, std::abs(codes[i] - expected[i]));
      }
    }
    const Codes last = codesAt(map.data, frame->info, source.width - 1, source.height - 1);
    EXPECT_EQ(codesAt(map.data, frame->info, frame->info.width - 1, source.height - 1), last);
    gst_buffer_unmap(frame->buffer.get(), &map);
    return largest;
  }

  static void expectForm(const NormalizedFrame& frame, const Source& source) {
    EXPECT_EQ(frame.visibleWidth, source.width);
    EXPECT_EQ(frame.visibleHeight, source.height);
    EXPECT_EQ(frame.info.width, (source.width + 7) / 8 * 8);
    EXPECT_EQ(frame.info.height, source.height);
    EXPECT_EQ(GST_VIDEO_INFO_FORMAT(&frame.info), GST_VIDEO_FORMAT_I420);
    EXPECT_TRUE(
        gst_video_colorimetry_matches(&frame.info.colorimetry, GST_VIDEO_COLORIMETRY_BT709));
    EXPECT_EQ(frame.info.chroma_site, GST_VIDEO_CHROMA_SITE_MPEG2);
    EXPECT_EQ(frame.info.fps_n, 30);
    EXPECT_EQ(gst_buffer_get_size(frame.buffer.get()), frame.info.size);
    EXPECT_EQ(gst_buffer_n_memory(frame.buffer.get()), 1U);
    EXPECT_TRUE(gst_buffer_is_writable(frame.buffer.get()));
    EXPECT_EQ(GST_BUFFER_PTS(frame.buffer.get()), 7 * GST_SECOND);
  }
};

using Combination = std::tuple<GstVideoColorMatrix, bool, GstVideoFormat>;

class FrameNormalizerCodings : public FrameNormalizerTest,
                               public testing::WithParamInterface<Combination> {};

TEST_P(FrameNormalizerCodings, ColourBarsGetTheCodesOfTheForm) {
  const auto [matrix, fullRange, format] = GetParam();
  const bool planar420 = format == GST_VIDEO_FORMAT_I420 || format == GST_VIDEO_FORMAT_YV12;
  const int tolerance = planar420 ? 1 : 2;
  for (const auto site : {GST_VIDEO_CHROMA_SITE_UNKNOWN, GST_VIDEO_CHROMA_SITE_MPEG2,
                          GST_VIDEO_CHROMA_SITE_JPEG, GST_VIDEO_CHROMA_SITE_COSITED}) {
    Source source{.format = format, .matrix = matrix, .fullRange = fullRange, .site = site};
    EXPECT_LE(largestError(source), tolerance) << "chroma site " << site;
    source.width = 854;
    source.height = 33;
    EXPECT_LE(largestError(source), tolerance) << "854 columns, 33 rows, chroma site " << site;
    source.width = 641;
    source.extraStride = 36;
    EXPECT_LE(largestError(source), tolerance) << "641 columns with gaps, chroma site " << site;
  }
}

std::string nameOf(const testing::TestParamInfo<Combination>& combination) {
  const auto [matrix, fullRange, format] = combination.param;
  return std::string(gst_video_format_to_string(format)) + (fullRange ? "Full" : "Limited") +
         std::to_string(matrix);
}

INSTANTIATE_TEST_SUITE_P(
    Combinations, FrameNormalizerCodings,
    testing::Combine(testing::Values(GST_VIDEO_COLOR_MATRIX_BT601, GST_VIDEO_COLOR_MATRIX_BT709,
                                     GST_VIDEO_COLOR_MATRIX_SMPTE240M,
                                     GST_VIDEO_COLOR_MATRIX_BT2020),
                     testing::Bool(),
                     testing::Values(GST_VIDEO_FORMAT_I420, GST_VIDEO_FORMAT_YV12,
                                     GST_VIDEO_FORMAT_NV12, GST_VIDEO_FORMAT_Y42B,
                                     GST_VIDEO_FORMAT_YUY2, GST_VIDEO_FORMAT_Y444,
                                     GST_VIDEO_FORMAT_I420_10LE, GST_VIDEO_FORMAT_I422_10LE,
                                     GST_VIDEO_FORMAT_Y444_10LE)),
    nameOf);

TEST_F(FrameNormalizerTest, RgbGetsTheCodesOfTheForm) {
  for (const auto format :
       {GST_VIDEO_FORMAT_RGB, GST_VIDEO_FORMAT_BGRx, GST_VIDEO_FORMAT_RGBA, GST_VIDEO_FORMAT_GBR}) {
    for (const int width : {1280, 854, 641}) {
      EXPECT_LE(largestError({.format = format, .width = width, .height = 33}), 2)
          << gst_video_format_to_string(format) << ' ' << width;
    }
  }
}

class FrameNormalizerPassing : public FrameNormalizerTest {
 protected:
  // Returns whether the output buffer is the input buffer.
  static bool passes(Use use, Source source, bool shared = false) {
    FrameNormalizer normalizer(use);
    const GstVideoInfo info = infoOf(source);
    const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info));
    GstPtr<GstBuffer> buffer = makeBars(source, info);
    GstBuffer* const given = buffer.get();
    const GstPtr<GstBuffer> other(shared ? gst_buffer_ref(given) : nullptr);
    const auto frame = normalizer.normalize(std::move(buffer), caps.get());
    EXPECT_TRUE(frame);
    return frame && frame->buffer.get() == given;
  }
};

constexpr Source kInForm{.matrix = GST_VIDEO_COLOR_MATRIX_BT709};

TEST_F(FrameNormalizerPassing, WritersGetMatchingFramesUncopied) {
  EXPECT_TRUE(passes(Use::kWrite, kInForm));
  Source source = kInForm;
  source.site = GST_VIDEO_CHROMA_SITE_UNKNOWN;
  EXPECT_TRUE(passes(Use::kWrite, source));
}

TEST_F(FrameNormalizerPassing, WritersGetACopyOfOtherFrames) {
  EXPECT_FALSE(passes(Use::kWrite, kInForm, true)) << "another holds it";
  Source source = kInForm;
  source.height = 35;
  EXPECT_FALSE(passes(Use::kWrite, source)) << "a gap between the planes";
  source = kInForm;
  source.width = 854;
  EXPECT_FALSE(passes(Use::kWrite, source)) << "no multiple of 8";
  source = kInForm;
  source.extraStride = 32;
  EXPECT_FALSE(passes(Use::kWrite, source)) << "gaps between the rows";
  source = kInForm;
  source.fullRange = true;
  EXPECT_FALSE(passes(Use::kWrite, source)) << "other colours";
}

TEST_F(FrameNormalizerPassing, ReadersGetFramesInTheFormUncopied) {
  Source source = kInForm;
  source.width = 854;
  source.height = 35;
  source.extraStride = 32;
  EXPECT_TRUE(passes(Use::kRead, source, true));
  source.fullRange = true;
  EXPECT_FALSE(passes(Use::kRead, source));
}

TEST_F(FrameNormalizerTest, ReadersGetNoPadding) {
  FrameNormalizer normalizer(Use::kRead);
  const Source source{.width = 854};
  const GstVideoInfo info = infoOf(source);
  const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info));
  const auto frame = normalizer.normalize(makeBars(source, info), caps.get());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->info.width, 854);
}

TEST_F(FrameNormalizerTest, AnUnsharedSamplePassesThrough) {
  const GstVideoInfo info = infoOf(kInForm);
  const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info));
  GstPtr<GstBuffer> buffer = makeBars(kInForm, info);
  const GstBuffer* const given = buffer.get();
  GstPtr<GstSample> sample(gst_sample_new(buffer.get(), caps.get(), nullptr, nullptr));
  buffer.reset();
  FrameNormalizer normalizer(Use::kWrite);
  const auto frame = normalizer.normalize(std::move(sample));
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->buffer.get(), given);
}

TEST_F(FrameNormalizerTest, PixelsBecomeSquare) {
  Source source{.width = 720, .height = 480};
  GstVideoInfo info = infoOf(source);
  info.par_n = 8;
  info.par_d = 9;
  const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info));
  FrameNormalizer normalizer(Use::kWrite);
  const auto frame = normalizer.normalize(makeBars(source, info), caps.get());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->visibleWidth, 640);
  EXPECT_EQ(frame->info.width, 640);
  GstMapInfo map;
  ASSERT_TRUE(gst_buffer_map(frame->buffer.get(), &map, GST_MAP_READ));
  for (size_t bar = 0; bar < kColourBars.size(); ++bar) {
    const Codes codes = codesAt(map.data, frame->info, static_cast<int>(40 * bar + 20), 240);
    const Codes expected = test::formCodesOf(kColourBars[bar]);
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(codes[i], expected[i], 1) << bar;
  }
  gst_buffer_unmap(frame->buffer.get(), &map);
}

TEST_F(FrameNormalizerTest, ColoursThatTheCapsDoNotDescribeAreGuessedBySize) {
  FrameNormalizer normalizer(Use::kWrite);
  for (const auto& [height, matrix] : {std::pair{480, GST_VIDEO_COLOR_MATRIX_BT601},
                                       std::pair{720, GST_VIDEO_COLOR_MATRIX_BT709}}) {
    const Source source{.width = 640, .height = height, .matrix = matrix};
    const GstPtr<GstCaps> caps(gst_caps_new_simple(
        "video/x-raw", "format", G_TYPE_STRING, "I420", "width", G_TYPE_INT, 640, "height",
        G_TYPE_INT, height, "framerate", GST_TYPE_FRACTION, 30, 1, nullptr));
    const auto frame = normalizer.normalize(makeBars(source, infoOf(source)), caps.get());
    ASSERT_TRUE(frame);
    GstMapInfo map;
    ASSERT_TRUE(gst_buffer_map(frame->buffer.get(), &map, GST_MAP_READ));
    const Codes codes = codesAt(map.data, frame->info, 5 * 40 + 20, 100);
    const Codes red = test::formCodesOf({1, 0, 0});
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(codes[i], red[i], 1) << height;
    gst_buffer_unmap(frame->buffer.get(), &map);
  }
}

TEST_F(FrameNormalizerTest, TheSitingIsKeptWithoutColorimetryInTheCaps) {
  const auto differentCodes = [](const char* siting) {
    const GstPtr<GstCaps> caps(
        gst_caps_from_string("video/x-raw,format=I420,width=64,height=2,framerate=30/1"));
    if (siting) gst_caps_set_simple(caps.get(), "chroma-site", G_TYPE_STRING, siting, nullptr);
    std::array<uint8_t, 128 + 64> pixels{};
    std::fill_n(&pixels[128 + 16], 16, uint8_t{200});  // the right half of U
    GstPtr<GstBuffer> buffer(gst_buffer_new_memdup(pixels.data(), pixels.size()));
    FrameNormalizer normalizer(Use::kWrite);
    const auto frame = normalizer.normalize(std::move(buffer), caps.get());
    std::set<int> codes;
    for (int x = 0; x < 64; ++x) {
      GstMapInfo map;
      if (!frame || !gst_buffer_map(frame->buffer.get(), &map, GST_MAP_READ)) break;
      codes.insert(codesAt(map.data, frame->info, x, 0)[1]);
      gst_buffer_unmap(frame->buffer.get(), &map);
    }
    return codes.size();
  };
  EXPECT_EQ(differentCodes("mpeg2"), 2U) << "the edge stays sharp";
  EXPECT_EQ(differentCodes("jpeg"), 3U) << "chroma moves by half a column";
  EXPECT_EQ(differentCodes(nullptr), 2U) << "as left, like most video";
}

TEST_F(FrameNormalizerTest, InvalidFramesAreDropped) {
  FrameNormalizer normalizer(Use::kWrite);
  EXPECT_FALSE(normalizer.normalize(nullptr));
  const GstPtr<GstCaps> audio(gst_caps_from_string("audio/x-raw"));
  EXPECT_FALSE(normalizer.normalize(GstPtr<GstBuffer>(gst_buffer_new()), audio.get()));
  EXPECT_FALSE(normalizer.normalize(GstPtr<GstBuffer>(gst_buffer_new()), nullptr));
  const GstVideoInfo info = infoOf(kInForm);
  const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info));
  const GstPtr<GstBuffer> small(gst_buffer_new_allocate(nullptr, 100, nullptr));
  EXPECT_FALSE(normalizer.normalize(share(small.get()), caps.get())) << "too few bytes";
  GstPtr<GstBuffer> other = makeBars(kInForm, info);
  gst_buffer_add_video_meta(other.get(), GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_I420, 64, 32);
  const GstPtr<GstBuffer> held = share(other.get());
  EXPECT_FALSE(normalizer.normalize(std::move(other), caps.get())) << "another size than the caps";
  EXPECT_TRUE(normalizer.normalize(makeBars(kInForm, info), caps.get())) << "the next one passes";
}

}  // namespace
}  // namespace NimboEngine

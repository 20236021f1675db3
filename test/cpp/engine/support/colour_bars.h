// Colour bars in any colour coding, and their exact codes.

#pragma once

#include <gst/video/video.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <span>
#include <string>

namespace NimboEngine::test {

struct Rgb {
  double red, green, blue;  // from 0 to 1
};

using Codes = std::array<int, 3>;  // Y, U, V

// The bars from left to right: at 100 and at 75 per cent, and grey.
inline constexpr std::array<Rgb, 16> kColourBars = {{{1, 1, 1},
                                                     {1, 1, 0},
                                                     {0, 1, 1},
                                                     {0, 1, 0},
                                                     {1, 0, 1},
                                                     {1, 0, 0},
                                                     {0, 0, 1},
                                                     {0, 0, 0},
                                                     {.75, .75, .75},
                                                     {.75, .75, 0},
                                                     {0, .75, .75},
                                                     {0, .75, 0},
                                                     {.75, 0, .75},
                                                     {.75, 0, 0},
                                                     {0, 0, .75},
                                                     {.5, .5, .5}}};

// Shares of red and blue in luma, from the standards of the matrices.
struct LumaShares {
  double red, blue;
};

inline LumaShares lumaShares(GstVideoColorMatrix matrix) {
  switch (matrix) {
    case GST_VIDEO_COLOR_MATRIX_BT601:
      return {0.299, 0.114};
    case GST_VIDEO_COLOR_MATRIX_SMPTE240M:
      return {0.212, 0.087};
    case GST_VIDEO_COLOR_MATRIX_BT2020:
      return {0.2627, 0.0593};
    case GST_VIDEO_COLOR_MATRIX_FCC:
      return {0.30, 0.11};
    default:
      return {0.2126, 0.0722};
  }
}

// Codes of `bits` bits each.
inline Codes codesOf(const Rgb& colour, GstVideoColorMatrix matrix, bool fullRange, int bits = 8) {
  const LumaShares share = lumaShares(matrix);
  const double y = share.red * colour.red + (1 - share.red - share.blue) * colour.green +
                   share.blue * colour.blue;
  const double u = (colour.blue - y) / (1 - share.blue) / 2;
  const double v = (colour.red - y) / (1 - share.red) / 2;
  const double unit = 1 << (bits - 8);
  const double most = (1 << bits) - 1;
  const auto code = [most](double value) {
    return static_cast<int>(std::lround(std::fmin(std::fmax(value, 0), most)));
  };
  if (fullRange) return {code(most * y), code(most * u + 128 * unit), code(most * v + 128 * unit)};
  return {code(unit * (16 + 219 * y)), code(unit * (128 + 224 * u)), code(unit * (128 + 224 * v))};
}

// The codes of a colour in every frame that leaves the engine.
inline Codes formCodesOf(const Rgb& colour) {
  return codesOf(colour, GST_VIDEO_COLOR_MATRIX_BT709, false);
}

}  // namespace NimboEngine::test

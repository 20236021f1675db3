#include "media/colour_transform.h"

namespace NimboEngine {
namespace {

// Derivation of luma and chroma from red, green and blue, all from 0 to 1.
struct Coding {
  double red;  // shares of luma
  double green;
  double blue;
  double yRange;  // codes from black to white
  double cRange;  // codes between the extremes of chroma
  double black;
};

Coding codingOf(const GstVideoColorimetry& colorimetry) {
  double red = 0;
  double blue = 0;
  if (!gst_video_color_matrix_get_Kr_Kb(colorimetry.matrix, &red, &blue)) {
    gst_video_color_matrix_get_Kr_Kb(GST_VIDEO_COLOR_MATRIX_BT709, &red, &blue);
  }
  if (colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255) {
    return {red, 1 - red - blue, blue, 255, 255, 0};
  }
  return {red, 1 - red - blue, blue, 219, 224, 16};
}

}  // namespace

ColourTransform ColourTransform::between(const GstVideoColorimetry& from,
                                         const GstVideoColorimetry& to) {
  if (from.matrix == to.matrix && from.range == to.range) return {};
  const Coding a = codingOf(from);
  const Coding b = codingOf(to);
  // Red, green and blue minus luma, for each code of U and V above 128.
  const double redFromV = 2 * (1 - a.red) / a.cRange;
  const double blueFromU = 2 * (1 - a.blue) / a.cRange;
  const double greenFromU = -blueFromU * a.blue / a.green;
  const double greenFromV = -redFromV * a.red / a.green;
  // New luma minus old luma.
  const double lumaFromU = b.green * greenFromU + b.blue * blueFromU;
  const double lumaFromV = b.green * greenFromV + b.red * redFromV;

  ColourTransform result;
  result.yScale = b.yRange / a.yRange;
  result.yOffset = b.black - a.black * result.yScale;
  result.yFromU = b.yRange * lumaFromU;
  result.yFromV = b.yRange * lumaFromV;
  const double toU = b.cRange / (2 * (1 - b.blue));
  const double toV = b.cRange / (2 * (1 - b.red));
  result.uFromU = toU * (blueFromU - lumaFromU);
  result.uFromV = toU * -lumaFromV;
  result.vFromU = toV * -lumaFromU;
  result.vFromV = toV * (redFromV - lumaFromV);
  return result;
}

}  // namespace NimboEngine

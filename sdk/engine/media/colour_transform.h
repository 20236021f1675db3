// The affine map from one coding of colours (matrix and range) to another, in units of 8-bit codes:
//
//   Y' = yScale * Y + yOffset + yFromU * (U - 128) + yFromV * (V - 128)
//   U' = 128 + uFromU * (U - 128) + uFromV * (V - 128)
//   V' = 128 + vFromU * (U - 128) + vFromV * (V - 128)
//
// Chroma does not depend on luma, since each coding gives grey the chroma 128.
//
// Thread: any.
// Failure: between() treats an unknown matrix as BT.709 and an unknown range as limited.

#pragma once

#include <gst/video/video.h>

namespace NimboEngine {

struct ColourTransform {
  double yScale = 1;
  double yOffset = 0;
  double yFromU = 0;
  double yFromV = 0;
  double uFromU = 1;
  double uFromV = 0;
  double vFromU = 0;
  double vFromV = 1;

  static ColourTransform between(const GstVideoColorimetry& from, const GstVideoColorimetry& to);

  bool operator==(const ColourTransform&) const = default;
};

}  // namespace NimboEngine

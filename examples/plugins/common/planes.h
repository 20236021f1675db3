// The three planes of an I420 frame, without the padding at the end of their rows.
//
// Ownership: the pixels are the frame's.

#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "IVideoFramePlugin.h"

namespace ExamplePlugins {

struct Plane {
  unsigned char* data;
  int stride;
  int width;
  int height;

  std::span<unsigned char> row(int y) const {
    return {data + static_cast<std::ptrdiff_t>(y) * stride, static_cast<std::size_t>(width)};
  }
};

// Y, U and V.
using Planes = std::array<Plane, 3>;

inline Planes planesOf(const LumoLivePushElectronSDK::VideoFrame& frame) {
  // Each sample of U and V covers 2 by 2 of Y; the last one fewer if the size is odd.
  const int width = (frame.width + 1) / 2;
  const int height = (frame.height + 1) / 2;
  unsigned char* const u = frame.data + static_cast<std::ptrdiff_t>(frame.strideY) * frame.height;
  unsigned char* const v = u + static_cast<std::ptrdiff_t>(frame.strideU) * height;
  return {{{frame.data, frame.strideY, frame.width, frame.height},
           {u, frame.strideU, width, height},
           {v, frame.strideV, width, height}}};
}

}  // namespace ExamplePlugins

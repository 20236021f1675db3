// Creates I420 frames and computes, byte by byte and slowly, the expected stored frame. Shares no
// code with the product on purpose.

#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "NimboSdk/LumoLiveDefine.h"

namespace LumoLivePushElectronSDK::testing {

struct FrameShape {
  int32_t width;
  int32_t height;
  int32_t stride_y;
  int32_t stride_u;
  int32_t stride_v;
};

// Rows without gaps.
inline FrameShape Tight(int32_t width, int32_t height) {
  return {width, height, width, (width + 1) / 2, (width + 1) / 2};
}

// A frame over exactly its own extent, filled with bytes of which none is zero.
class OwnedFrame {
 public:
  explicit OwnedFrame(const FrameShape& shape, uint32_t seed = 1) {
    const auto size = [](int32_t stride, int32_t rows) {
      return static_cast<std::size_t>(stride) * static_cast<std::size_t>(rows);
    };
    bytes_.resize(size(shape.stride_y, shape.height) +
                  size(shape.stride_u + shape.stride_v, (shape.height + 1) / 2));
    std::mt19937 random(seed);
    for (auto& byte : bytes_) byte = static_cast<unsigned char>(1 + random() % 255);
    raw_.data = bytes_.data();
    raw_.width = shape.width;
    raw_.height = shape.height;
    raw_.strideY = shape.stride_y;
    raw_.strideU = shape.stride_u;
    raw_.strideV = shape.stride_v;
  }
  OwnedFrame(const OwnedFrame&) = delete;
  OwnedFrame& operator=(const OwnedFrame&) = delete;

  const LumoRtc::LumoLiveVideoRawData& raw() const { return raw_; }
  const std::vector<unsigned char>& bytes() const { return bytes_; }

 private:
  std::vector<unsigned char> bytes_;
  LumoRtc::LumoLiveVideoRawData raw_;
};

struct StoredFrame {
  std::size_t width = 0;
  std::size_t height = 0;
  std::size_t y_length = 0;
  std::size_t u_length = 0;
  std::size_t v_length = 0;
  std::vector<unsigned char> bytes;
};

// Moves single bytes: one that lies outside the source is not moved.
inline void MoveBytes(const std::vector<unsigned char>& source, std::size_t from,
                      std::vector<unsigned char>& target, std::size_t to, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (from + i < source.size()) target.at(to + i) = source[from + i];
  }
}

inline StoredFrame ReferenceFrame(const OwnedFrame& frame) {
  const auto& source = frame.bytes();
  const auto width = static_cast<std::size_t>(frame.raw().width);
  const auto height = static_cast<std::size_t>(frame.raw().height);
  const auto stride_y = static_cast<std::size_t>(frame.raw().strideY);
  const auto stride_u = static_cast<std::size_t>(frame.raw().strideU);
  const auto stride_v = static_cast<std::size_t>(frame.raw().strideV);
  const std::size_t half_height = height / 2 + height % 2;
  if (width % 8 == 0) {
    return {width, height, stride_y * height, stride_u * half_height, stride_v * half_height,
            source};
  }
  const std::size_t wide = width + (8 - width % 8);
  const std::size_t half_wide = wide / 2;
  std::size_t left = (wide - width) / 2 + 1;
  if (left % 2 == 1) --left;

  StoredFrame stored{wide, height, wide * height, half_wide * half_height, half_wide * half_height,
                     {}};
  stored.bytes.assign(stored.y_length + stored.u_length + stored.v_length, 0);
  std::size_t from_y = 0, to_y = left;
  std::size_t from_u = stride_y * height, to_u = stored.y_length + left / 2;
  std::size_t from_v = from_u + stride_u * half_height, to_v = to_u + stored.u_length;
  for (std::size_t i = 0; i < half_height; ++i) {
    MoveBytes(source, from_y, stored.bytes, to_y, width);
    MoveBytes(source, from_y + stride_y, stored.bytes, to_y + wide, width);
    MoveBytes(source, from_u, stored.bytes, to_u, (width + 1) / 2);
    MoveBytes(source, from_v, stored.bytes, to_v, (width + 1) / 2);
    from_y += 2 * stride_y;
    to_y += 2 * wide;
    from_u += stride_u;
    to_u += half_wide;
    from_v += stride_v;
    to_v += half_wide;
  }
  return stored;
}

}  // namespace LumoLivePushElectronSDK::testing

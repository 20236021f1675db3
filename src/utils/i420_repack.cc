#include "utils/i420_repack.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace LumoLivePushElectronSDK {
namespace {

constexpr uint64_t kAlignment = 8;

// Distances between rows, and where the planes begin. 64 bits: two 31-bit numbers are multiplied.
struct Planes {
  uint64_t stride_y;
  uint64_t stride_u;
  uint64_t stride_v;
  uint64_t u_offset;
  uint64_t v_offset;
  uint64_t size;
};

Planes PlanesOf(uint64_t height, uint64_t stride_y, uint64_t stride_u, uint64_t stride_v) {
  const uint64_t half_height = (height + 1) / 2;
  const uint64_t u_offset = stride_y * height;
  const uint64_t v_offset = u_offset + stride_u * half_height;
  return {stride_y, stride_u, stride_v, u_offset, v_offset, v_offset + stride_v * half_height};
}

Planes PlanesOf(const LumoRtc::LumoLiveVideoRawData& frame) {
  return PlanesOf(static_cast<uint64_t>(frame.height), static_cast<uint64_t>(frame.strideY),
                  static_cast<uint64_t>(frame.strideU), static_cast<uint64_t>(frame.strideV));
}

Planes AlignedPlanes(uint64_t aligned_width, uint64_t height) {
  return PlanesOf(height, aligned_width, aligned_width / 2, aligned_width / 2);
}

uint64_t Aligned(uint64_t width) {
  return (width + kAlignment - 1) / kAlignment * kAlignment;
}

// The rows are copied from top to bottom, two luma rows and one of each chroma plane at a time. Deliberate: of an odd height the last step still copies two luma rows. The
// second of them reads what follows the luma plane, which is chroma, and lands on the chroma of
// the target, where the chroma rows of that same step then overwrite part of it.
void RepackRows(const LumoRtc::LumoLiveVideoRawData& frame, uint64_t aligned_width,
                unsigned char* target) {
  const auto width = static_cast<uint64_t>(frame.width);
  const auto height = static_cast<uint64_t>(frame.height);
  const uint64_t chroma_width = (width + 1) / 2;
  const uint64_t left = ((aligned_width - width) / 2 + 1) / 2 * 2;
  const Planes from = PlanesOf(frame);
  const Planes to = AlignedPlanes(aligned_width, height);

  const auto copy_row = [&](uint64_t source_offset, uint64_t target_offset, uint64_t length) {
    if (source_offset >= from.size) return;
    std::memcpy(target + target_offset, frame.data + source_offset,
                std::min(length, from.size - source_offset));
  };
  std::memset(target, 0, to.size);
  for (uint64_t row = 0; row < (height + 1) / 2; ++row) {
    const uint64_t luma = 2 * row;
    copy_row(luma * from.stride_y, luma * to.stride_y + left, width);
    copy_row((luma + 1) * from.stride_y, (luma + 1) * to.stride_y + left, width);
    copy_row(from.u_offset + row * from.stride_u, to.u_offset + row * to.stride_u + left / 2,
             chroma_width);
    copy_row(from.v_offset + row * from.stride_v, to.v_offset + row * to.stride_v + left / 2,
             chroma_width);
  }
}

}  // namespace

std::optional<I420Layout> LayOutI420(const LumoRtc::LumoLiveVideoRawData& frame) {
  if (!frame.data) return std::nullopt;
  if (std::min({frame.width, frame.height, frame.strideY, frame.strideU, frame.strideV}) < 1) {
    return std::nullopt;
  }
  const uint64_t width = Aligned(static_cast<uint64_t>(frame.width));
  const auto height = static_cast<uint64_t>(frame.height);
  const Planes own = PlanesOf(frame);
  const bool as_it_is = width == static_cast<uint64_t>(frame.width);
  const Planes planes = as_it_is ? own : AlignedPlanes(width, height);
  if (std::max(own.size, planes.size) > std::numeric_limits<uint32_t>::max()) return std::nullopt;

  I420Layout layout;
  layout.width = static_cast<uint32_t>(width);
  layout.height = static_cast<uint32_t>(height);
  layout.y_length = static_cast<uint32_t>(planes.u_offset);
  layout.u_length = static_cast<uint32_t>(planes.v_offset - planes.u_offset);
  layout.v_length = static_cast<uint32_t>(planes.size - planes.v_offset);
  layout.size = static_cast<uint32_t>(planes.size);
  return layout;
}

void CopyI420(const LumoRtc::LumoLiveVideoRawData& frame, const I420Layout& layout,
              unsigned char* target) {
  if (layout.width == static_cast<uint32_t>(frame.width)) {
    std::memcpy(target, frame.data, layout.size);
  } else {
    RepackRows(frame, layout.width, target);
  }
}

}  // namespace LumoLivePushElectronSDK

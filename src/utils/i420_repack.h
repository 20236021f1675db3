// Layout of an I420 frame for JavaScript, and the copy into that layout.
//
// A frame whose width is a multiple of 8 is copied unchanged, strides included. Any other is
// centred in rows of the next multiple of 8, with zero bytes around it.
//
// Thread: any; nothing is shared.
// Ownership: the caller's buffers, both of them.
// Failure: an invalid frame has no layout.

#pragma once

#include <cstdint>
#include <optional>

#include "NimboSdk/LumoLiveDefine.h"

namespace LumoLivePushElectronSDK {

// Sizes in bytes, width and height in pixels, of the frame as JavaScript receives it: the Y plane,
// then U, then V, without gaps.
struct I420Layout {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t y_length = 0;
  uint32_t u_length = 0;
  uint32_t v_length = 0;
  uint32_t size = 0;  // the sum of the three lengths

  bool operator==(const I420Layout&) const = default;
};

// None when the frame has no data, when a dimension or stride is below 1, or when the frame's own
// extent or its layout would not fit in 32 bits.
std::optional<I420Layout> LayOutI420(const LumoRtc::LumoLiveVideoRawData& frame);

// Writes all `layout.size` bytes of `target`; `layout` is the frame's own. Never reads outside the
// frame's extent (strideY rows of luma, strideU and strideV half rows of chroma): missing bytes of
// a row stay zero.
void CopyI420(const LumoRtc::LumoLiveVideoRawData& frame, const I420Layout& layout,
              unsigned char* target);

}  // namespace LumoLivePushElectronSDK

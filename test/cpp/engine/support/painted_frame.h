// I420 frames of plain colours, and access to single pixels.
//
// Thread: plain functions.
// Ownership: frames are the caller's.

#pragma once

#include <gst/video/video.h>

#include <array>

#include "gst/gst_ptr.h"
#include "media/view_layout.h"

namespace NimboEngine::test {

using Colour = std::array<int, 3>;  // Y, U, V

inline constexpr Colour kBlack{16, 128, 128};
inline constexpr Colour kRed{63, 102, 240};
inline constexpr Colour kGreen{173, 42, 26};

// The layout of an I420 frame of that size, in the form of media/frame_form.h.
GstVideoInfo i420(Size size);

// A frame that is `left` in its left half and `right` in its right one.
GstPtr<GstBuffer> paintHalves(Size size, const Colour& left, const Colour& right);

GstPtr<GstBuffer> paint(Size size, const Colour& colour);

// Returns the colour of one pixel of a buffer that carries its layout, or has the layout `info`.
Colour pixelAt(GstBuffer* buffer, const GstVideoInfo& info, int x, int y);

}  // namespace NimboEngine::test

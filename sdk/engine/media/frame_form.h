// The one form of every video frame that leaves the engine: I420, BT.709 matrix, primaries and
// transfer, limited range (luma 16 to 235, chroma 16 to 240), chroma sited left (as in MPEG-2),
// square pixels, progressive.
//
// Colours are converted by matrix and range. Primaries and transfer are labelled, not converted:
// between BT.601 and BT.709 they differ too little to see. Frames of wide gamut or high dynamic
// range (BT.2020 with PQ or HLG) are converted by their matrix alone and look pale.
//
// Thread: any.

#pragma once

#include <gst/video/video.h>

namespace NimboEngine {

// The form as caps fields, to follow "video/x-raw,".
inline constexpr char kFrameFormCaps[] =
    "format=I420,pixel-aspect-ratio=1/1,interlace-mode=progressive,colorimetry=bt709,"
    "chroma-site=mpeg2";

// I420 of this size in the form, with the layout of GStreamer's elements.
GstVideoInfo frameInfo(int width, int height);

// The same as one contiguous block: U directly behind the last row of Y, V directly behind the last
// row of U, also where GStreamer's own layout has a gap (odd heights).
GstVideoInfo contiguousInfo(int width, int height);

// Labels `info` with colours, chroma siting, pixel shape and scan of the form.
void setFrameForm(GstVideoInfo& info);

}  // namespace NimboEngine

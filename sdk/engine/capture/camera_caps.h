// Which of a camera's formats to use.
//
// Thread: any.
// Ownership: returns new caps.
// Failure: null when nothing offered can be decoded here.

#pragma once

#include "gst/gst_ptr.h"
#include "media/frame_consumer.h"

namespace NimboEngine {

// The raw or JPEG format among `offered` that comes nearest to what is wanted. A missing part of
// the frame rate counts twice as much as the same part of the width or height; between equals raw
// wins, which needs no decoding.
GstPtr<GstCaps> chooseCameraCaps(const GstCaps& offered, const VideoFormat& wanted);

}  // namespace NimboEngine

// Chooses one of a camera's formats.
//
// Thread: any.
// Ownership: returns new caps.
// Failure: null if none of the offered formats can be decoded here.

#pragma once

#include "gst/gst_ptr.h"
#include "media/frame_consumer.h"

namespace NimboEngine {

// Returns the raw or JPEG format among `offered` that is nearest to `wanted`. A deficit in frame
// rate weighs twice as much as the same deficit in width or height; of equals the raw format, which
// needs no decoding, is chosen.
GstPtr<GstCaps> chooseCameraCaps(const GstCaps& offered, const VideoFormat& wanted);

}  // namespace NimboEngine

// The GStreamer caps of a stream in an FLV, from its codec and its configuration.
//
// Thread: any; GStreamer must have been started.
// Ownership: the caps are the caller's; the configuration is copied.
// Failure: null for a codec that has none, or a configuration that cannot be right.

#pragma once

#include <cstdint>
#include <span>

#include "flv/flv_media.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

// `media` is a frame or a configuration. `configuration` is the stream's newest, empty while it has
// none, which serves all codecs that do not needsConfiguration().
GstPtr<GstCaps> makeFlvCaps(const FlvMedia& media, std::span<const uint8_t> configuration);

}  // namespace NimboEngine

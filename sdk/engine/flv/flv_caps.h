// GStreamer caps of an FLV stream, made from its codec and its configuration.
//
// Thread: any; GStreamer must have been started.
// Ownership: the caps are the caller's; the configuration is copied.
// Failure: null for an unknown codec or an invalid configuration.

#pragma once

#include <cstdint>
#include <span>

#include "flv/flv_media.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

// `media` is a frame or a configuration. `configuration` may be empty, except for a codec that
// needsConfiguration().
GstPtr<GstCaps> makeFlvCaps(const FlvMedia& media, std::span<const uint8_t> configuration);

}  // namespace NimboEngine

// Keeps decodebin from plugging elements that fetch or listen on their own: an untrusted stream
// that turns out to be a playlist, a manifest or a session description would make them open any
// address.
//
// Thread: any.

#pragma once

#include <gst/gst.h>

namespace NimboEngine {

// `decoder`: a decodebin or uridecodebin. With `playlist` its first demultiplexer may be that of
// HLS, whose playlist has been checked.
void restrictDemuxers(GstElement* decoder, bool playlist);

}  // namespace NimboEngine

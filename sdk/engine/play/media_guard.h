// Keeps a playback within its limits (PlayLimits). A frame is refused before a decoder allocates
// memory for it, by the size in the caps and in the coded data; and arriving bytes are counted
// until some of them reach a decoder, since demultiplexers and parsers buffer data that they cannot
// use yet.
//
// Thread: the guard functions any, before the element gets data; the probes run on GStreamer's.
// Ownership: each probe shares the output for the lifetime of its pad.
// Failure: the pipeline posts an error of the domain GST_STREAM_ERROR that names the limit, and
//   nothing passes the guarded pad any more.

#pragma once

#include <gst/gst.h>

#include <memory>

#include "play/decoded_media_sink.h"

namespace NimboEngine {

// To be called for each decoder.
void guardDecoder(GstElement* decoder, const std::shared_ptr<DecodedMediaSink>& output);

// To be called for each pad through which external data arrive.
void guardArrival(GstPad* pad, const std::shared_ptr<DecodedMediaSink>& output);

}  // namespace NimboEngine

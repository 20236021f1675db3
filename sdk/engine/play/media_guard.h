// Keeps a playback within its limits (PlayLimits). A frame is refused before a decoder allocates
// memory for it, by what the caps say and by what the coded data say; and what arrives is counted
// until something of it reaches a decoder, since demultiplexers and parsers keep whatever they
// cannot use yet.
//
// Thread: the guard functions any, before the element gets data; the probes run on GStreamer's.
// Ownership: each probe shares the output until its pad ends.
// Failure: the pipeline posts an error of the domain GST_STREAM_ERROR that names the limit, and
//   nothing passes the guarded pad any more.

#pragma once

#include <gst/gst.h>

#include <memory>

#include "play/decoded_media_sink.h"

namespace NimboEngine {

// For each decoder.
void guardDecoder(GstElement* decoder, const std::shared_ptr<DecodedMediaSink>& output);

// For each pad that data from outside come through.
void guardArrival(GstPad* pad, const std::shared_ptr<DecodedMediaSink>& output);

}  // namespace NimboEngine

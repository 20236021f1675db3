// The output branches of a playback's pipeline: decoded video and audio go into the output, and the
// encoded bytes are counted in front of the decoders.
//
// Thread: any; media are delivered on GStreamer's threads.
// Ownership: each branch shares the output during its lifetime.

#pragma once

#include <memory>

#include "play/decoded_media_sink.h"

namespace NimboEngine {

// A branch for raw video or audio, floating, with a pad "sink". Null if it cannot be built; the
// error is logged.
GstElement* makeOutputBranch(Media media, const std::shared_ptr<DecodedMediaSink>& output);

// Configures a decoder that has just been created; other elements stay unchanged.
void tuneDecoder(GstElement* element, const std::shared_ptr<DecodedMediaSink>& output);

}  // namespace NimboEngine

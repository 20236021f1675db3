// The output branches of a playback's pipeline: decoded video and audio go into the output, and
// what goes into the decoders is counted on its way.
//
// Thread: any; deliveries come on GStreamer's threads.
// Ownership: each branch shares the output until it ends.

#pragma once

#include <memory>

#include "play/decoded_media_sink.h"

namespace NimboEngine {

// A branch for raw video or audio, floating, with a pad "sink". Null when it cannot be built; the
// reason is logged.
GstElement* makeOutputBranch(Media media, const std::shared_ptr<DecodedMediaSink>& output);

// Prepares a decoder that has just been made; other elements are left as they are.
void tuneDecoder(GstElement* element, const std::shared_ptr<DecodedMediaSink>& output);

}  // namespace NimboEngine

// The ends of a playback's pipeline: decoded pictures and sound go into the outlets, and what goes
// into the decoders is counted on its way.
//
// Thread: any; deliveries come on GStreamer's threads.
// Ownership: each end shares the outlets until it ends.

#pragma once

#include <memory>

#include "play/play_outlets.h"

namespace NimboEngine {

// An end for raw pictures or sound, floating, with a pad "sink". Null when it cannot be built; the
// reason is logged.
GstElement* makePlayEnd(Media media, bool live, const std::shared_ptr<PlayOutlets>& outlets);

// Prepares a decoder that has just been made; other elements are left as they are.
void tuneDecoder(GstElement* element, const std::shared_ptr<PlayOutlets>& outlets);

}  // namespace NimboEngine

// Creates the sources for identifiers.
//
// Thread: any.
// Ownership: returns new sources.
// Failure: none; a missing device is detected when the source is built.

#pragma once

#include <memory>

#include "capture/media_sink.h"
#include "devices/device_id.h"
#include "gst/source.h"

namespace NimboEngine {

std::unique_ptr<Source> makeCamera(const DeviceId& camera, SourceOutputs outputs);

// A file's identifier is the audio of that file.
std::unique_ptr<Source> makeMicrophone(const DeviceId& microphone, SourceOutputs outputs);

}  // namespace NimboEngine

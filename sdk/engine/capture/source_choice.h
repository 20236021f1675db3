// Creates the sources for identifiers (devices/devices.h).
//
// Thread: any.
// Ownership: returns new sources.
// Failure: none; a missing device is detected when the source is built.

#pragma once

#include <memory>
#include <string>

#include "capture/media_sink.h"
#include "gst/source.h"

namespace NimboEngine {

std::unique_ptr<Source> makeCamera(const std::string& camera, SourceOutputs outputs);

// "file:<path>" is the audio of that file.
std::unique_ptr<Source> makeMicrophone(const std::string& microphone, SourceOutputs outputs);

}  // namespace NimboEngine

// From configured names to sources.
//
// Thread: any; may wait for the first look at the devices.
// Ownership: returns new sources.
// Failure: null, with the reason in `problem`.

#pragma once

#include <memory>
#include <string>

#include "capture/media_sink.h"
#include "capture/source.h"

namespace NimboEngine {

std::unique_ptr<Source> makeCamera(const std::string& camera, SourceOutlets outlets,
                                   std::string& problem);

// Not for the sound of a file: that comes from the camera's own source.
std::unique_ptr<Source> makeMicrophone(const std::string& microphone, SourceOutlets outlets,
                                       std::string& problem);

}  // namespace NimboEngine

// Turns what ends a playback into one of the SDK's documented codes.
//
// Thread: any; keeps no state.

#pragma once

#include "NimboSdk/LumoLiveResult.h"
#include "gst/pipeline.h"

namespace NimboEngine {

// `playing` tells whether pictures or sound had come: then whatever the source reports is a lost
// connection.
LumoRtc::LumoLiveErrorCode classifyPlayError(const PipelineMessage& error, bool playing);

}  // namespace NimboEngine

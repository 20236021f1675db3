// Maps the error that ends a playback to one of the SDK's documented codes.
//
// Thread: any; keeps no state.

#pragma once

#include "NimboSdk/LumoLiveResult.h"
#include "gst/pipeline.h"

namespace NimboEngine {

// `playing`: frames or audio had been decoded; then every error of the source is a lost connection.
LumoRtc::LumoLiveErrorCode classifyPlayError(const PipelineMessage& error, bool playing);

}  // namespace NimboEngine

// Turns what the RTMP element reports into one of the SDK's documented codes.
//
// Thread: any; keeps no state.

#pragma once

#include "NimboSdk/LumoLiveResult.h"
#include "gst/pipeline.h"

namespace NimboEngine {

// `accepted` tells whether the server had accepted the stream: whatever happens afterwards is a
// lost connection.
LumoRtc::LumoLiveErrorCode classifyRtmpError(const PipelineMessage& error, bool accepted);

}  // namespace NimboEngine

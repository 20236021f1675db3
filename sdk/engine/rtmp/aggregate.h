// Splits an aggregate message: several audio, video and data messages in one, each with a header
// like that of an FLV tag.
//
// Thread: any; keeps no state.

#pragma once

#include <functional>

#include "rtmp/message.h"

namespace NimboEngine {

// Calls `handler` for each part, with the time stamps moved so that the first part has the
// aggregate's. Returns false if a part does not fit into the body; those before it have been passed
// to `handler`.
bool splitAggregate(const RtmpMessage& aggregate,
                    const std::function<void(const RtmpMessage&)>& handler);

}  // namespace NimboEngine

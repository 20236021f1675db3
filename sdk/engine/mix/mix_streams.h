// Access to the content of the interface's array of mixed streams.
//
// Thread: plain values.
// Ownership: the content belongs to the array.

#pragma once

#include <vector>

#include "NimboSdk/LumoLiveDefine.h"

namespace NimboEngine {

const std::vector<LumoRtc::LumoLiveMixStream>& streamsOf(
    const LumoRtc::LumoLiveMixStreamArray& array);

}  // namespace NimboEngine

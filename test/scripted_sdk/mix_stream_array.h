// The library's own reading of LumoLiveMixStreamArray, whose storage is private to it.
//
// Thread: any; distinct arrays on distinct threads.

#pragma once

#include "NimboSdk/LumoLiveDefine.h"
#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

// The streams as an array of records.
Json mixStreamsJson(const LumoRtc::LumoLiveMixStreamArray& streams);

int mixStreamArraysAlive();

}  // namespace ScriptedSdk

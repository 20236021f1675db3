// SDK records as JSON, field for field under the interface's names, and back where a test gives
// them.
//
// Thread: any.
// Failure: readers throw std::invalid_argument.

#pragma once

#include "NimboSdk/LumoLiveDefine.h"
#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

Json recordJson(const LumoRtc::LumoLivePushConfig& config);
Json recordJson(const LumoRtc::LumoLivePlayerConfig& config);
Json recordJson(const LumoRtc::LumoLiveScreenShareEncoderConfig& config);
Json recordJson(const LumoRtc::LumoLiveTranscodingConfig& config);

LumoRtc::LumoLiveScreenShareEncoderConfig readEncoderConfig(const Json& value);
LumoRtc::LumoLiveUserVolumeInfo readVolume(const Json& value);

// Reads the statistics' fields. The texts live as long as the process, as the interface promises.
LumoRtc::LumoLivePlayerStatsInfo readStatistics(Fields& fields);

// A copy of `text` that lives as long as the process; null for none.
const char* immortalText(const Text& text);

}  // namespace ScriptedSdk

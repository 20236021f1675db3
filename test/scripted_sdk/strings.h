// The library's own handling of LumoRtc::String.
//
// Unlike other builds of the interface this one records whether a String was built from a null text
// or from an empty one, so that tests can distinguish the two. c_str() returns "" for both.
//
// Thread: any.

#pragma once

#include "NimboSdk/LumoRtcString.h"
#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

Json textJson(const LumoRtc::String& text);

LumoRtc::String makeString(const Text& text);

// Returns a copy of `text` that is valid for the life of the process; null for none.
const char* immortalText(const Text& text);

int stringsAlive();

// During its lifetime, Strings created and destroyed on this thread are the library's own and are
// recorded with "bySdk".
class SdkScope {
 public:
  SdkScope();
  ~SdkScope();
  SdkScope(const SdkScope&) = delete;
  SdkScope& operator=(const SdkScope&) = delete;
};

}  // namespace ScriptedSdk

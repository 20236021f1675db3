// The library's own handling of LumoRtc::String.
//
// Unlike other builds of the interface this one remembers whether a String was built from a null
// text or from an empty one, so that tests can tell the two apart. c_str() answers "" for both.
//
// Thread: any.

#pragma once

#include "NimboSdk/LumoRtcString.h"
#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

Json textJson(const LumoRtc::String& text);

LumoRtc::String makeString(const Text& text);

// A copy of `text` that lives as long as the process; null for none.
const char* immortalText(const Text& text);

int stringsAlive();

// While one lives, Strings that come and go on this thread are the library's own doing and are
// recorded with "bySdk".
class SdkScope {
 public:
  SdkScope();
  ~SdkScope();
  SdkScope(const SdkScope&) = delete;
  SdkScope& operator=(const SdkScope&) = delete;
};

}  // namespace ScriptedSdk

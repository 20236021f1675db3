// The one entrance for tests: a request and its answer as JSON texts.
//
// A request is {"op": …, …}; control.cc lists the operations. The answer is {"value": …}, or
// {"error": text} when the request cannot be met.
//
// Thread: any.
// Failure: does not throw.

#pragma once

#include <string>

#include "NimboSdk/LumoRtcExport.h"

namespace ScriptedSdk {

LUMO_RTC_EXPORT std::string control(const std::string& request) noexcept;

}  // namespace ScriptedSdk

// The control interface for tests: a request and its reply as JSON texts.
//
// A request is {"op": …, …}; control.cc lists the operations. The reply is {"value": …}, or
// {"error": text} if the request fails.
//
// Thread: any.
// Failure: does not throw.

#pragma once

#include <string>

#include "NimboSdk/LumoRtcExport.h"

namespace ScriptedSdk {

LUMO_RTC_EXPORT std::string control(const std::string& request) noexcept;

}  // namespace ScriptedSdk

// Turns GIO's errors into RtmpError.
//
// Thread: any; keeps no state.

#pragma once

#include "base/glib_ptr.h"
#include "rtmp/rtmp_error.h"

namespace NimboEngine {

RtmpFailure failureOf(const GError& error);

}  // namespace NimboEngine

// Turns GIO's errors into ConnectionError.
//
// Thread: any; keeps no state.

#pragma once

#include "base/glib_ptr.h"
#include "net/connection_error.h"

namespace NimboEngine {

ConnectionFailure failureOf(const GError& error);

}  // namespace NimboEngine

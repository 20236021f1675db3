// Maps the status codes of RTMP servers to errors.
//
// Thread: any; the functions keep no state.

#pragma once

#include <optional>
#include <string_view>

#include "net/connection_error.h"

namespace NimboEngine {

// Returns the error that a code of onStatus stands for, whatever its level; none for a code that
// reports progress or is unknown.
std::optional<ConnectionError> publishErrorOf(std::string_view code);
std::optional<ConnectionError> playErrorOf(std::string_view code);

// Returns whether a refusal of "connect" asks for a user name and a password.
bool asksForAuthentication(std::string_view description);

}  // namespace NimboEngine

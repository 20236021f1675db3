// What the codes mean with which a server reports on a stream.
//
// Thread: any; the functions keep no state.

#pragma once

#include <optional>
#include <string_view>

#include "net/connection_error.h"

namespace NimboEngine {

// The error that a code of onStatus means by itself, whatever its level says; none for a code that
// reports progress or is not known.
std::optional<ConnectionError> publishErrorOf(std::string_view code);
std::optional<ConnectionError> playErrorOf(std::string_view code);

// Whether a refusal of "connect" asks for a user name and a password.
bool asksForAuthentication(std::string_view description);

}  // namespace NimboEngine

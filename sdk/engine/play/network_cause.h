// Finds out why a server of RTSP or SRT cannot be reached, by resolving its name and connecting:
// their source elements report the same vague error for an unresolvable name and a closed port.
//
// Thread: any; waits for the network, kNetworkCauseTimeout at most for each step.
// Failure: none.

#pragma once

#include <chrono>
#include <optional>

#include "NimboSdk/LumoLiveResult.h"
#include "play/play_url.h"

namespace NimboEngine {

inline constexpr std::chrono::seconds kNetworkCauseTimeout{5};

struct NetworkCause {
  LumoRtc::LumoLiveErrorCode code;
  std::string message;
};

// Returns nothing if the server can be reached, and for all other protocols.
std::optional<NetworkCause> findNetworkCause(const PlayUrl& url);

}  // namespace NimboEngine

// Why a server cannot be reached, asked of the network itself: several source elements report the
// same vague error for a name that does not resolve, a closed port and a bad certificate.
//
// Thread: any; waits for the network, kNetworkCausePatience at most for each step.
// Failure: none.

#pragma once

#include <chrono>
#include <optional>

#include "NimboSdk/LumoLiveResult.h"
#include "play/play_url.h"

namespace NimboEngine {

inline constexpr std::chrono::seconds kNetworkCausePatience{5};

struct NetworkCause {
  LumoRtc::LumoLiveErrorCode code;
  std::string message;
};

// Nothing when the server can be reached, or `url` names no server.
std::optional<NetworkCause> findNetworkCause(const PlayUrl& url);

}  // namespace NimboEngine

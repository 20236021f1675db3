// Why a server of RTSP or SRT cannot be reached, asked of the network itself: their source elements
// report the same vague error for a name that does not resolve and a closed port.
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

// Nothing when the server can be reached, and for every other protocol.
std::optional<NetworkCause> findNetworkCause(const PlayUrl& url);

}  // namespace NimboEngine

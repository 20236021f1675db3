// Why something could not be fetched, and what that means for the playback.
//
// Thread: plain values.

#pragma once

#include <string>
#include <utility>

#include "NimboSdk/LumoLiveResult.h"
#include "net/connection_error.h"

namespace NimboEngine {

struct FetchFailure {
  LumoRtc::LumoLiveErrorCode code = LumoRtc::kLumoLiveErrorNone;
  // For the application. It has a host and a port at most of any address: no path, no parameters,
  // no user.
  std::string text;
  // Trying again, or something else of the same stream, is of no use: what may not be, what is too
  // large, and whom nobody trusts.
  bool isFinal = false;
};

// What it means for a playback that a connection, or RTMP's stream, could not be had.
LumoRtc::LumoLiveErrorCode playErrorCode(ConnectionError error);

inline FetchFailure refusedFetch(std::string text) {
  return {LumoRtc::kLumoLiveErrorPlayRejected, std::move(text), true};
}

}  // namespace NimboEngine

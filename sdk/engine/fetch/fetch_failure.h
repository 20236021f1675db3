// A failed fetch: its error, and the consequence for the playback.
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
  // For the application. Of any address it shows at most host and port: no path, no parameters, no
  // user.
  std::string text;
  // Retrying, or fetching something else of the same stream, cannot succeed: forbidden addresses,
  // exceeded limits, untrusted certificates.
  bool isFinal = false;
};

// Maps the failure of a connection, or of an RTMP stream, to the error code of the playback.
LumoRtc::LumoLiveErrorCode playErrorCode(ConnectionError error);

inline FetchFailure refusedFetch(std::string text) {
  return {LumoRtc::kLumoLiveErrorPlayRejected, std::move(text), true};
}

}  // namespace NimboEngine

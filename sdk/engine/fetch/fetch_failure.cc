#include "fetch/fetch_failure.h"

namespace NimboEngine {

LumoRtc::LumoLiveErrorCode playErrorCode(ConnectionError error) {
  switch (error) {
    case ConnectionError::kHostNotFound:
      return LumoRtc::kLumoLiveErrorHostNotFound;
    case ConnectionError::kRefused:
      return LumoRtc::kLumoLiveErrorConnectRefused;
    case ConnectionError::kUnreachable:
    case ConnectionError::kTimeout:
      return LumoRtc::kLumoLiveErrorConnectTimeout;
    case ConnectionError::kTlsUntrusted:
      return LumoRtc::kLumoLiveErrorServerUntrusted;
    case ConnectionError::kStreamNotFound:
    case ConnectionError::kStreamEnded:
      return LumoRtc::kLumoLiveErrorStreamNotFound;
    default:
      return LumoRtc::kLumoLiveErrorPlayRejected;
  }
}

}  // namespace NimboEngine

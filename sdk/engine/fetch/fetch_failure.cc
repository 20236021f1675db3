#include "fetch/fetch_failure.h"

namespace NimboEngine {

LumoRtc::LumoLiveErrorCode playErrorCode(RtmpError error) {
  switch (error) {
    case RtmpError::kHostNotFound:
      return LumoRtc::kLumoLiveErrorHostNotFound;
    case RtmpError::kRefused:
      return LumoRtc::kLumoLiveErrorConnectRefused;
    case RtmpError::kUnreachable:
    case RtmpError::kTimeout:
      return LumoRtc::kLumoLiveErrorConnectTimeout;
    case RtmpError::kTlsUntrusted:
      return LumoRtc::kLumoLiveErrorServerUntrusted;
    case RtmpError::kStreamNotFound:
    case RtmpError::kStreamEnded:
      return LumoRtc::kLumoLiveErrorStreamNotFound;
    default:
      return LumoRtc::kLumoLiveErrorPlayRejected;
  }
}

}  // namespace NimboEngine

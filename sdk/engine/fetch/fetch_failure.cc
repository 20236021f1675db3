#include "fetch/fetch_failure.h"

namespace NimboEngine {

LumoRtc::LumoLiveErrorCode playErrorCode(ConnectionError error) {
  if (const auto code = routeErrorCode(error)) return *code;
  const bool isAbsent =
      error == ConnectionError::kStreamNotFound || error == ConnectionError::kStreamEnded;
  return isAbsent ? LumoRtc::kLumoLiveErrorStreamNotFound : LumoRtc::kLumoLiveErrorPlayRejected;
}

}  // namespace NimboEngine

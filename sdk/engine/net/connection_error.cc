#include "net/connection_error.h"

namespace NimboEngine {

std::string_view nameOf(ConnectionError error) {
  switch (error) {
    case ConnectionError::kHostNotFound:
      return "host not found";
    case ConnectionError::kRefused:
      return "refused";
    case ConnectionError::kUnreachable:
      return "unreachable";
    case ConnectionError::kTimeout:
      return "timeout";
    case ConnectionError::kTlsUntrusted:
      return "TLS untrusted";
    case ConnectionError::kTlsFailed:
      return "TLS failed";
    case ConnectionError::kClosedByPeer:
      return "closed by peer";
    case ConnectionError::kSystem:
      return "system";
    case ConnectionError::kProtocolViolation:
      return "protocol violation";
    case ConnectionError::kLimitExceeded:
      return "limit exceeded";
    case ConnectionError::kConnectRejected:
      return "connect rejected";
    case ConnectionError::kAuthenticationNeeded:
      return "authentication needed";
    case ConnectionError::kPublishDenied:
      return "publish denied";
    case ConnectionError::kPublishRejected:
      return "publish rejected";
    case ConnectionError::kNameInUse:
      return "name in use";
    case ConnectionError::kPlayDenied:
      return "play denied";
    case ConnectionError::kStreamNotFound:
      return "stream not found";
    case ConnectionError::kStreamEnded:
      return "stream ended";
  }
  return "unknown";
}

std::optional<LumoRtc::LumoLiveErrorCode> routeErrorCode(ConnectionError error) {
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
    default:
      return std::nullopt;
  }
}

}  // namespace NimboEngine

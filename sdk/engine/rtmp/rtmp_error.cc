#include "rtmp/rtmp_error.h"

namespace NimboEngine {

std::string_view nameOf(RtmpError error) {
  switch (error) {
    case RtmpError::kHostNotFound:
      return "host not found";
    case RtmpError::kRefused:
      return "refused";
    case RtmpError::kUnreachable:
      return "unreachable";
    case RtmpError::kTimeout:
      return "timeout";
    case RtmpError::kTlsUntrusted:
      return "TLS untrusted";
    case RtmpError::kTlsFailed:
      return "TLS failed";
    case RtmpError::kClosedByPeer:
      return "closed by peer";
    case RtmpError::kSystem:
      return "system";
    case RtmpError::kProtocolViolation:
      return "protocol violation";
    case RtmpError::kLimitExceeded:
      return "limit exceeded";
    case RtmpError::kConnectRejected:
      return "connect rejected";
    case RtmpError::kAuthenticationNeeded:
      return "authentication needed";
    case RtmpError::kPublishDenied:
      return "publish denied";
    case RtmpError::kPublishRejected:
      return "publish rejected";
    case RtmpError::kNameInUse:
      return "name in use";
    case RtmpError::kPlayDenied:
      return "play denied";
    case RtmpError::kStreamNotFound:
      return "stream not found";
    case RtmpError::kStreamEnded:
      return "stream ended";
  }
  return "unknown";
}

}  // namespace NimboEngine

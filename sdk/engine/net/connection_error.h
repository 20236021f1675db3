// Errors of a connection: why it could not be established, or ended.
//
// Thread: plain values.

#pragma once

#include <optional>
#include <string_view>

#include "base/result.h"

namespace NimboEngine {

enum class ConnectionError {
  // Connecting to the server
  kHostNotFound,
  kRefused,      // no process listens on the port
  kUnreachable,  // there is no route to the host
  kTimeout,
  kTlsUntrusted,  // the certificate: its authority, its host name or its dates
  kTlsFailed,     // anything else about TLS
  kClosedByPeer,  // closed or reset
  kSystem,        // this machine: out of descriptors, for example
  // Data from the peer
  kProtocolViolation,
  kLimitExceeded,  // the text names the limit
  // Responses of the server
  kConnectRejected,  // "connect" or "createStream": an unknown application, a redirect
  kAuthenticationNeeded,
  kPublishDenied,    // the server's authorisation forbids the stream
  kPublishRejected,  // any other refusal of "publish"
  kNameInUse,
  kPlayDenied,
  kStreamNotFound,
  kStreamEnded,  // its publisher has left, or a recording is at its end
};

// For log lines and tests: "host not found", "refused" and so on.
std::string_view nameOf(ConnectionError error);

// The code of an error on the way to the server, which is the same for publishing and playing.
// None for other errors.
std::optional<LumoRtc::LumoLiveErrorCode> routeErrorCode(ConnectionError error);

// Its text is the server's own if it sent one.
using ConnectionFailure = Error<ConnectionError>;

}  // namespace NimboEngine

// Why an RTMP connection could not be had, or ended.
//
// Thread: plain values.

#pragma once

#include <string>
#include <string_view>

namespace NimboEngine {

enum class ConnectionError {
  // The way to the server
  kHostNotFound,
  kRefused,      // nobody listens on the port
  kUnreachable,  // there is no route to the host
  kTimeout,
  kTlsUntrusted,  // the certificate: its authority, its host name or its dates
  kTlsFailed,     // anything else about TLS
  kClosedByPeer,  // closed or reset
  kSystem,        // this machine: out of descriptors, for example
  // What the peer sends
  kProtocolViolation,
  kLimitExceeded,  // the text names the limit
  // What the server answers
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

struct ConnectionFailure {
  ConnectionError error{};
  std::string text;  // the server's own words where it sent some
};

}  // namespace NimboEngine

// A TCP connection, optionally with TLS: non-blocking reading and writing, and the kernel's figures
// about data in flight.
//
// Thread: startTls, read and write on one thread; the rest from any, while the object lives.
// Ownership: owns the socket. Destruction cuts the connection and never waits for the network.
// Failure: read and write report it by their result, with details in failure().

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/glib_ptr.h"
#include "net/connection_error.h"
#include "net/stop_signal.h"

namespace NimboEngine {

class ByteStream {
 public:
  enum class Result { kDone, kWouldBlock, kFailed };

  explicit ByteStream(GlibPtr<GSocket> socket);
  ~ByteStream();
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;

  // The server must present a certificate that is trusted and made out to `host`.
  NimboEngine::Result<void, ConnectionError> startTls(
      const std::string& host, int port, const StopSignal& stop,
      std::chrono::steady_clock::time_point deadline);

  // The end of the stream is a failure, kClosedByPeer.
  Result read(std::span<uint8_t> target, std::size_t& count);

  // After kWouldBlock the next call must begin with the same bytes; more may follow them.
  Result write(std::span<const uint8_t> source, std::size_t& count);

  const ConnectionFailure& failure() const { return failure_; }

  // Ends the connection at once; reading and writing fail from now on.
  void cut();

  // Acknowledges what was received so far without the usual delay. Servers that send a response in
  // several segments wait for that before each segment.
  void acknowledgeAtOnce();

  int descriptor() const { return descriptor_; }

  // Bytes in the kernel's send buffer, sent and not acknowledged ones included.
  std::size_t unacknowledged() const;

  // Bytes that the peer has acknowledged since the connection began, TLS's own included.
  uint64_t acknowledged() const;

 private:
  Result finishCall(gssize result, GError* error, std::size_t& count);

  const int descriptor_;
  GlibPtr<GIOStream> connection_;  // the socket's
  GlibPtr<GIOStream> tls_;         // null without TLS
  GPollableInputStream* input_ = nullptr;
  GPollableOutputStream* output_ = nullptr;
  ConnectionFailure failure_;
};

}  // namespace NimboEngine

// A TCP server on a loopback port whose side of each connection is a function.
//
// Thread: each connection has one of its own. Construction and destruction on the test's.
// Ownership: destruction cuts all connections and joins.
// Failure: throws std::runtime_error when it cannot listen, or cannot use a certificate.

#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace NimboEngine::test {

// One accepted connection, with blocking I/O.
class PeerStream {
 public:
  explicit PeerStream(GIOStream* stream) : stream_(stream) {}

  // Both return false once the connection has ended.
  bool send(std::span<const uint8_t> bytes);
  bool receive(std::size_t count);

  // Returns the next data; none at the end.
  std::vector<uint8_t> receiveSome();

  // Waits until the other side closes.
  void receiveAll();

  // Makes the connection end with a reset.
  void resetOnClose();

 private:
  GIOStream* const stream_;
};

class LoopbackPeer {
 public:
  using Talk = std::function<void(PeerStream&)>;

  // `certificate`: a PEM file with certificate and key, for TLS.
  explicit LoopbackPeer(Talk talk, const std::string& certificate = "");
  ~LoopbackPeer();
  LoopbackPeer(const LoopbackPeer&) = delete;
  LoopbackPeer& operator=(const LoopbackPeer&) = delete;

  int port() const { return port_; }

 private:
  void accept();
  void serve(int descriptor);
  void talkOver(GSocketConnection* connection);

  const Talk talk_;
  GTlsCertificate* certificate_ = nullptr;
  int listener_ = -1;
  int port_ = 0;
  std::mutex mutex_;
  bool ending_ = false;
  std::vector<int> open_;  // descriptors of connections
  std::vector<std::thread> threads_;
  std::thread acceptor_;
};

// Makes a self-signed certificate with its key in one PEM file, which is returned.
std::string makeCertificate(const std::string& folder, const std::string& alternativeName);

}  // namespace NimboEngine::test

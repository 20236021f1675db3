#include "support/loopback_peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <utility>

#include "support/child_process.h"

namespace NimboEngine::test {
namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};

template <class T>
using Owned = std::unique_ptr<T, Unref>;

int listenOnLoopback(int& port) {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  if (bind(descriptor, plain, size) != 0 || listen(descriptor, 64) != 0 ||
      getsockname(descriptor, plain, &size) != 0) {
    throw std::runtime_error("no port to listen on");
  }
  port = ntohs(address.sin_port);
  return descriptor;
}

}  // namespace

bool PeerStream::send(std::span<const uint8_t> bytes) {
  return g_output_stream_write_all(g_io_stream_get_output_stream(stream_), bytes.data(),
                                   bytes.size(), nullptr, nullptr, nullptr) != FALSE;
}

bool PeerStream::receive(std::size_t count) {
  std::vector<uint8_t> bytes(count);
  gsize received = 0;
  g_input_stream_read_all(g_io_stream_get_input_stream(stream_), bytes.data(), count, &received,
                          nullptr, nullptr);
  return received == count;
}

std::vector<uint8_t> PeerStream::receiveSome() {
  std::vector<uint8_t> bytes(64 * 1024);
  const gssize count = g_input_stream_read(g_io_stream_get_input_stream(stream_), bytes.data(),
                                           bytes.size(), nullptr, nullptr);
  bytes.resize(static_cast<std::size_t>(std::max<gssize>(count, 0)));
  return bytes;
}

void PeerStream::receiveAll() {
  while (!receiveSome().empty()) {
  }
}

void PeerStream::resetOnClose() {
  const linger at_once = {1, 0};
  setsockopt(g_socket_get_fd(g_socket_connection_get_socket(G_SOCKET_CONNECTION(stream_))),
             SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
}

LoopbackPeer::LoopbackPeer(Talk talk, const std::string& certificate) : talk_(std::move(talk)) {
  if (!certificate.empty()) {
    certificate_ = g_tls_certificate_new_from_file(certificate.c_str(), nullptr);
    if (!certificate_) throw std::runtime_error("the certificate cannot be read");
  }
  listener_ = listenOnLoopback(port_);
  acceptor_ = std::thread([this] { accept(); });
}

LoopbackPeer::~LoopbackPeer() {
  {
    std::lock_guard lock(mutex_);
    ending_ = true;
    shutdown(listener_, SHUT_RDWR);
    for (const int descriptor : open_) shutdown(descriptor, SHUT_RDWR);
  }
  acceptor_.join();
  for (std::thread& thread : threads_) thread.join();
  close(listener_);
  if (certificate_) g_object_unref(certificate_);
}

void LoopbackPeer::accept() {
  while (true) {
    const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) return;
    std::lock_guard lock(mutex_);
    if (ending_) {
      close(descriptor);
      return;
    }
    open_.push_back(descriptor);
    threads_.emplace_back([this, descriptor] { serve(descriptor); });
  }
}

void LoopbackPeer::serve(int descriptor) {
  const Owned<GSocket> socket(g_socket_new_from_fd(descriptor, nullptr));
  const Owned<GSocketConnection> connection(
      g_socket_connection_factory_create_connection(socket.get()));
  talkOver(connection.get());
  // Removed from the list before another connection can reuse the number.
  std::lock_guard lock(mutex_);
  std::erase(open_, descriptor);
  g_socket_close(socket.get(), nullptr);
}

void LoopbackPeer::talkOver(GSocketConnection* connection) {
  if (!certificate_) {
    PeerStream stream(G_IO_STREAM(connection));
    return talk_(stream);
  }
  const Owned<GIOStream> tls(
      g_tls_server_connection_new(G_IO_STREAM(connection), certificate_, nullptr));
  if (!g_tls_connection_handshake(G_TLS_CONNECTION(tls.get()), nullptr, nullptr)) return;
  PeerStream stream(tls.get());
  talk_(stream);
  shutdown(g_socket_get_fd(g_socket_connection_get_socket(connection)), SHUT_RDWR);
}

std::string makeCertificate(const std::string& folder, const std::string& alternativeName) {
  const std::string key = folder + "/key.pem";
  const std::string certificate = folder + "/certificate.pem";
  ChildProcess({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
                "-nodes", "-days", "2", "-keyout", key, "-out", certificate, "-subj", "/CN=test",
                "-addext", "subjectAltName=" + alternativeName},
               folder + "/openssl.log")
      .wait();
  std::string both = folder + "/both.pem";
  std::ofstream(both) << std::ifstream(certificate).rdbuf() << std::ifstream(key).rdbuf();
  return both;
}

}  // namespace NimboEngine::test

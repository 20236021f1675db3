#include "net/byte_stream.h"

#include <fmt/format.h>

#include <utility>

#include "net/async_call.h"
#include "net/gio_error.h"
#include "platform/tcp_socket.h"

namespace NimboEngine {
namespace {

std::string certificateError(GTlsCertificateFlags flags) {
  struct Reason {
    GTlsCertificateFlags flag;
    const char* text;
  };
  constexpr Reason kReasons[] = {
      {G_TLS_CERTIFICATE_UNKNOWN_CA, "its authority is unknown"},
      {G_TLS_CERTIFICATE_BAD_IDENTITY, "it is made out to another host"},
      {G_TLS_CERTIFICATE_NOT_ACTIVATED, "it is not valid yet"},
      {G_TLS_CERTIFICATE_EXPIRED, "it has expired"},
      {G_TLS_CERTIFICATE_REVOKED, "it was revoked"},
      {G_TLS_CERTIFICATE_INSECURE, "its algorithm is insecure"},
  };
  std::string text;
  for (const Reason& reason : kReasons) {
    if ((flags & reason.flag) == 0) continue;
    if (!text.empty()) text += ", ";
    text += reason.text;
  }
  return text.empty() ? "it cannot be verified" : text;
}

gboolean onCertificate(GTlsConnection*, GTlsCertificate*, GTlsCertificateFlags flags,
                       gpointer distrust) {
  *static_cast<std::optional<std::string>*>(distrust) = certificateError(flags);
  return FALSE;
}

}  // namespace

ByteStream::ByteStream(GlibPtr<GSocket> socket)
    : descriptor_(g_socket_get_fd(socket.get())),
      connection_(G_IO_STREAM(g_socket_connection_factory_create_connection(socket.get()))),
      input_(G_POLLABLE_INPUT_STREAM(g_io_stream_get_input_stream(connection_.get()))),
      output_(G_POLLABLE_OUTPUT_STREAM(g_io_stream_get_output_stream(connection_.get()))) {}

// Cut first: otherwise TLS would send close_notify and wait until that is sent.
ByteStream::~ByteStream() {
  cut();
}

Result<void, ConnectionError> ByteStream::startTls(const std::string& host, int port,
                                                   const StopSignal& stop,
                                                   std::chrono::steady_clock::time_point deadline) {
  const GlibPtr<GSocketConnectable> identity(
      g_network_address_new(host.c_str(), static_cast<guint16>(port)));
  GError* error = nullptr;
  tls_.reset(g_tls_client_connection_new(connection_.get(), identity.get(), &error));
  if (!tls_) {
    const GlibPtr<GError> owned(error);
    return failed(ConnectionError::kTlsFailed, "{}", error->message);
  }
  std::optional<std::string> distrust;
  const gulong handler =
      g_signal_connect(tls_.get(), "accept-certificate", G_CALLBACK(onCertificate), &distrust);
  AsyncCall call(stop.cancellable(), deadline);
  g_tls_connection_handshake_async(G_TLS_CONNECTION(tls_.get()), G_PRIORITY_DEFAULT,
                                   stop.cancellable(), &AsyncCall::onDone, &call);
  g_tls_connection_handshake_finish(G_TLS_CONNECTION(tls_.get()), call.wait(), &error);
  g_signal_handler_disconnect(tls_.get(), handler);
  const GlibPtr<GError> owned(error);
  if (distrust) {
    return failed(ConnectionError::kTlsUntrusted, "the certificate of {} is not trusted: {}", host,
                  *distrust);
  }
  if (call.timedOut()) {
    return failed(ConnectionError::kTimeout, "the server does not complete the TLS handshake");
  }
  if (error) return tl::unexpected(failureOf(*error));
  input_ = G_POLLABLE_INPUT_STREAM(g_io_stream_get_input_stream(tls_.get()));
  output_ = G_POLLABLE_OUTPUT_STREAM(g_io_stream_get_output_stream(tls_.get()));
  return {};
}

ByteStream::Result ByteStream::read(std::span<uint8_t> target, std::size_t& count) {
  GError* error = nullptr;
  const gssize result = g_pollable_input_stream_read_nonblocking(input_, target.data(),
                                                                 target.size(), nullptr, &error);
  if (result == 0) {
    failure_ = {ConnectionError::kClosedByPeer, "the server closed the connection"};
    return Result::kFailed;
  }
  return finishCall(result, error, count);
}

ByteStream::Result ByteStream::write(std::span<const uint8_t> source, std::size_t& count) {
  GError* error = nullptr;
  const gssize result = g_pollable_output_stream_write_nonblocking(output_, source.data(),
                                                                   source.size(), nullptr, &error);
  return finishCall(result, error, count);
}

ByteStream::Result ByteStream::finishCall(gssize result, GError* error, std::size_t& count) {
  if (result >= 0) {
    count = static_cast<std::size_t>(result);
    return Result::kDone;
  }
  const GlibPtr<GError> owned(error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK)) return Result::kWouldBlock;
  failure_ = failureOf(*error);
  return Result::kFailed;
}

void ByteStream::cut() {
  cutTcp(descriptor_);
}

void ByteStream::acknowledgeAtOnce() {
  acknowledgeTcpAtOnce(descriptor_);
}

std::size_t ByteStream::unacknowledged() const {
  return unacknowledgedTcpBytes(descriptor_);
}

uint64_t ByteStream::acknowledged() const {
  return acknowledgedTcpBytes(descriptor_);
}

}  // namespace NimboEngine

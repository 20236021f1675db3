#include "net/gio_error.h"

namespace NimboEngine {
namespace {

ConnectionError ioError(int code) {
  switch (code) {
    case G_IO_ERROR_CONNECTION_REFUSED:
      return ConnectionError::kRefused;
    case G_IO_ERROR_TIMED_OUT:
      return ConnectionError::kTimeout;
    case G_IO_ERROR_HOST_UNREACHABLE:
    case G_IO_ERROR_NETWORK_UNREACHABLE:
      return ConnectionError::kUnreachable;
    case G_IO_ERROR_CONNECTION_CLOSED:
      return ConnectionError::kClosedByPeer;
    default:
      return ConnectionError::kSystem;
  }
}

ConnectionError tlsError(int code) {
  switch (code) {
    case G_TLS_ERROR_BAD_CERTIFICATE:
      return ConnectionError::kTlsUntrusted;
    case G_TLS_ERROR_EOF:
      return ConnectionError::kClosedByPeer;
    default:
      return ConnectionError::kTlsFailed;
  }
}

ConnectionError classify(const GError& error) {
  if (error.domain == G_RESOLVER_ERROR) return ConnectionError::kHostNotFound;
  if (error.domain == G_TLS_ERROR) return tlsError(error.code);
  return error.domain == G_IO_ERROR ? ioError(error.code) : ConnectionError::kSystem;
}

}  // namespace

ConnectionFailure failureOf(const GError& error) {
  return {classify(error), error.message};
}

}  // namespace NimboEngine

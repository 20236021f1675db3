#include "rtmp/network_error.h"

namespace NimboEngine {
namespace {

RtmpError ioError(int code) {
  switch (code) {
    case G_IO_ERROR_CONNECTION_REFUSED:
      return RtmpError::kRefused;
    case G_IO_ERROR_TIMED_OUT:
      return RtmpError::kTimeout;
    case G_IO_ERROR_HOST_UNREACHABLE:
    case G_IO_ERROR_NETWORK_UNREACHABLE:
      return RtmpError::kUnreachable;
    case G_IO_ERROR_CONNECTION_CLOSED:
      return RtmpError::kClosedByPeer;
    default:
      return RtmpError::kSystem;
  }
}

RtmpError tlsError(int code) {
  switch (code) {
    case G_TLS_ERROR_BAD_CERTIFICATE:
      return RtmpError::kTlsUntrusted;
    case G_TLS_ERROR_EOF:
      return RtmpError::kClosedByPeer;
    default:
      return RtmpError::kTlsFailed;
  }
}

RtmpError classify(const GError& error) {
  if (error.domain == G_RESOLVER_ERROR) return RtmpError::kHostNotFound;
  if (error.domain == G_TLS_ERROR) return tlsError(error.code);
  return error.domain == G_IO_ERROR ? ioError(error.code) : RtmpError::kSystem;
}

}  // namespace

RtmpFailure failureOf(const GError& error) {
  return {classify(error), error.message};
}

}  // namespace NimboEngine

// Opens a TCP connection to a host by name, trying its addresses of both families in parallel: each
// attempt starts a quarter of a second after the last, or as soon as that has failed.
//
// Thread: any; blocks until it is connected, refused, stopped or past the deadline.
// Ownership: the socket is the caller's. It is non-blocking and is not inherited by child
//   processes.
// Failure: if all addresses fail, the last error is returned. After a stop the failure has no
//   meaning.

#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "base/glib_ptr.h"
#include "net/connection_error.h"
#include "net/stop_signal.h"

namespace NimboEngine {

// Returns whether a connection to that address may be tried.
using AddressFilter = std::function<bool(GInetAddress*)>;

// An empty filter lets every address pass. Without an address that may be tried, the host counts as
// not found.
Result<GlibPtr<GSocket>, ConnectionError> connectTcp(const std::string& host, int port,
                                                     StopSignal& stop,
                                                     std::chrono::steady_clock::time_point deadline,
                                                     const AddressFilter& filter = {});

}  // namespace NimboEngine

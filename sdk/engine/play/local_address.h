// Distinguishes addresses of this machine and of its own network from public ones: a server of the
// public network must not redirect clients there.
//
// Thread: any; keeps no state.

#pragma once

#include <gio/gio.h>

namespace NimboEngine {

// Loopback, link-local, private (RFC 1918, RFC 4193), shared (RFC 6598), unspecified and multicast
// addresses, also as IPv4 embedded in IPv6.
bool isLocalAddress(GInetAddress* address);

}  // namespace NimboEngine

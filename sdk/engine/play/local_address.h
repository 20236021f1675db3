// Tells addresses of this machine and of its own network from public ones: a server of the public
// network has no business sending anybody there.
//
// Thread: any; keeps no state.

#pragma once

#include <gio/gio.h>

namespace NimboEngine {

// Loopback, link-local, private (RFC 1918, RFC 4193), shared (RFC 6598), unspecified and multicast
// addresses, also where IPv6 stands for IPv4.
bool isLocalAddress(GInetAddress* address);

}  // namespace NimboEngine

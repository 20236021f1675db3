// Distinguishes addresses of the public internet from local ones: loopback, private and link-local
// networks, multicast, and everything else that is not routed globally.
//
// Thread: any; keeps no state.

#pragma once

#include <cstdint>
#include <span>

namespace NimboEngine {

enum class Reach { kPublic, kLocal };

// `address` has the 4 bytes of IPv4 or the 16 of IPv6, in network order; any other size counts as
// local. IPv6 addresses that stand for an IPv4 address (mapped, NAT64, 6to4) count as that one.
Reach reachOf(std::span<const uint8_t> address);

}  // namespace NimboEngine

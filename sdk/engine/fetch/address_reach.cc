#include "fetch/address_reach.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace NimboEngine {
namespace {

using Bytes = std::span<const uint8_t>;

struct Network {
  std::array<uint8_t, 16> prefix;
  unsigned bits;
};

constexpr std::size_t kIpv4Bytes = 4;
constexpr std::size_t kIpv6Bytes = 16;

constexpr Network kLocalIpv4[] = {
    {{0}, 8},              // this network
    {{10}, 8},             // private
    {{100, 64}, 10},       // shared by a provider's customers
    {{127}, 8},            // loopback
    {{169, 254}, 16},      // link-local
    {{172, 16}, 12},       // private
    {{192, 0, 0}, 24},     // protocol assignments
    {{192, 0, 2}, 24},     // documentation
    {{192, 168}, 16},      // private
    {{198, 18}, 15},       // benchmarks
    {{198, 51, 100}, 24},  // documentation
    {{203, 0, 113}, 24},   // documentation
    {{224}, 3},            // multicast, reserved, broadcast
};

// Only this part of IPv6 is routed globally...
constexpr Network kGlobalIpv6 = {{0x20}, 3};
// ... except for these.
constexpr Network kLocalIpv6[] = {
    {{0x20, 0x01, 0x00}, 23},        // protocol assignments, Teredo
    {{0x20, 0x01, 0x0d, 0xb8}, 32},  // documentation
    {{0x3f, 0xff}, 20},              // documentation
};

// IPv6 networks whose addresses hold an IPv4 address from `at` on.
struct Embedding {
  Network network;
  std::size_t at;
};
constexpr Embedding kEmbeddings[] = {
    {{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff}, 96}, 12},  // mapped
    {{{0, 0x64, 0xff, 0x9b}, 96}, 12},                       // NAT64
    {{{0x20, 0x02}, 16}, 2},                                 // 6to4
};

bool isIn(Bytes address, const Network& network) {
  for (unsigned bit = 0; bit < network.bits; bit += 8) {
    const unsigned left = network.bits - bit;
    const auto mask = static_cast<uint8_t>(left >= 8 ? 0xff : 0xff << (8 - left));
    if ((address[bit / 8] & mask) != network.prefix[bit / 8]) return false;
  }
  return true;
}

template <class Networks>
bool isInAny(Bytes address, const Networks& networks) {
  return std::any_of(std::begin(networks), std::end(networks),
                     [&](const Network& network) { return isIn(address, network); });
}

}  // namespace

Reach reachOf(Bytes address) {
  if (address.size() == kIpv4Bytes) {
    return isInAny(address, kLocalIpv4) ? Reach::kLocal : Reach::kPublic;
  }
  if (address.size() != kIpv6Bytes) return Reach::kLocal;
  for (const Embedding& embedding : kEmbeddings) {
    if (isIn(address, embedding.network)) return reachOf(address.subspan(embedding.at, kIpv4Bytes));
  }
  if (!isIn(address, kGlobalIpv6) || isInAny(address, kLocalIpv6)) return Reach::kLocal;
  return Reach::kPublic;
}

}  // namespace NimboEngine

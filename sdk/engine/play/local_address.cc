#include "play/local_address.h"

#include <algorithm>
#include <array>

#include "base/glib_ptr.h"

namespace NimboEngine {
namespace {

bool isLocalV4(const guint8* bytes) {
  const bool isThisNetwork = bytes[0] == 0;
  const bool isShared = bytes[0] == 100 && (bytes[1] & 0xc0) == 64;
  return isThisNetwork || isShared;
}

bool isUniqueLocal(const guint8* bytes) {
  return (bytes[0] & 0xfe) == 0xfc;
}

}  // namespace

bool isLocalAddress(GInetAddress* address) {
  constexpr std::array<guint8, 12> kMapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
  if (g_inet_address_get_is_loopback(address) || g_inet_address_get_is_link_local(address) ||
      g_inet_address_get_is_site_local(address) || g_inet_address_get_is_any(address) ||
      g_inet_address_get_is_multicast(address)) {
    return true;
  }
  const guint8* bytes = g_inet_address_to_bytes(address);
  if (g_inet_address_get_family(address) == G_SOCKET_FAMILY_IPV4) return isLocalV4(bytes);
  if (isUniqueLocal(bytes)) return true;
  if (!std::equal(kMapped.begin(), kMapped.end(), bytes)) return false;
  const GlibPtr<GInetAddress> mapped(
      g_inet_address_new_from_bytes(bytes + kMapped.size(), G_SOCKET_FAMILY_IPV4));
  return isLocalAddress(mapped.get());
}

}  // namespace NimboEngine

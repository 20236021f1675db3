#include "play/local_address.h"

#include <gtest/gtest.h>

#include "base/glib_ptr.h"

namespace NimboEngine {
namespace {

bool isLocal(const char* text) {
  const GlibPtr<GInetAddress> address(g_inet_address_new_from_string(text));
  EXPECT_TRUE(address) << text;
  return address && isLocalAddress(address.get());
}

TEST(LocalAddress, IsOfThisMachineOrItsNetwork) {
  for (const char* text :
       {"127.0.0.1", "127.9.9.9", "0.0.0.0", "0.1.2.3", "10.0.0.1", "172.16.0.1", "172.31.255.255",
        "192.168.1.1", "169.254.169.254", "100.64.0.1", "224.0.0.1", "::", "::1", "fe80::1",
        "fc00::1", "fd12:3456::1", "ff02::1", "::ffff:127.0.0.1", "::ffff:10.0.0.1"}) {
    EXPECT_TRUE(isLocal(text)) << text;
  }
}

TEST(LocalAddress, PublicOnesAreNot) {
  for (const char* text : {"8.8.8.8", "172.32.0.1", "100.128.0.1", "192.169.0.1", "2001:4860::8888",
                           "::ffff:8.8.8.8"}) {
    EXPECT_FALSE(isLocal(text)) << text;
  }
}

}  // namespace
}  // namespace NimboEngine

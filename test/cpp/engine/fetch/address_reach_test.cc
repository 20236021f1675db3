#include "fetch/address_reach.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

namespace NimboEngine {
namespace {

Reach reach(const std::string& text) {
  std::array<uint8_t, 16> bytes{};
  const bool isIpv6 = text.find(':') != text.npos;
  EXPECT_EQ(inet_pton(isIpv6 ? AF_INET6 : AF_INET, text.c_str(), bytes.data()), 1) << text;
  return reachOf(std::span(bytes).first(isIpv6 ? 16 : 4));
}

TEST(AddressReach, LocalIpv4) {
  for (const char* address :
       {"0.0.0.0",         "10.0.0.1",       "10.255.255.255",  "100.64.0.1",
        "100.127.255.255", "127.0.0.1",      "127.255.255.255", "169.254.169.254",
        "172.16.0.1",      "172.31.255.255", "192.0.0.8",       "192.0.2.1",
        "192.168.1.1",     "198.18.0.1",     "198.19.255.255",  "198.51.100.1",
        "203.0.113.9",     "224.0.0.1",      "239.255.255.250", "240.0.0.1",
        "255.255.255.255"}) {
    EXPECT_EQ(reach(address), Reach::kLocal) << address;
  }
}

TEST(AddressReach, PublicIpv4) {
  for (const char* address :
       {"1.1.1.1", "9.255.255.255", "11.0.0.0", "100.63.255.255", "100.128.0.0", "126.255.255.255",
        "128.0.0.0", "169.253.255.255", "172.15.255.255", "172.32.0.0", "192.167.255.255",
        "192.169.0.0", "198.17.255.255", "198.20.0.0", "223.255.255.255"}) {
    EXPECT_EQ(reach(address), Reach::kPublic) << address;
  }
}

TEST(AddressReach, LocalIpv6) {
  for (const char* address : {"::", "::1", "fe80::1", "fec0::1", "fc00::1", "fdff::1", "ff02::1",
                              "2001:db8::1", "2001::1", "100::1", "3fff::1", "::127.0.0.1"}) {
    EXPECT_EQ(reach(address), Reach::kLocal) << address;
  }
}

TEST(AddressReach, PublicIpv6) {
  for (const char* address : {"2606:4700::1111", "2a00:1450::1", "2001:200::1", "3ffe::1"}) {
    EXPECT_EQ(reach(address), Reach::kPublic) << address;
  }
}

TEST(AddressReach, Ipv6ThatStandsForIpv4CountsAsThat) {
  for (const char* address : {"::ffff:127.0.0.1", "::ffff:10.0.0.1", "::ffff:169.254.169.254",
                              "64:ff9b::192.168.0.1", "2002:7f00:1::", "2002:a00:1::1"}) {
    EXPECT_EQ(reach(address), Reach::kLocal) << address;
  }
  for (const char* address : {"::ffff:1.1.1.1", "64:ff9b::1.1.1.1", "2002:101:101::"}) {
    EXPECT_EQ(reach(address), Reach::kPublic) << address;
  }
}

TEST(AddressReach, InvalidAddressesCountAsLocal) {
  const std::array<uint8_t, 5> bytes{1, 1, 1, 1, 1};
  EXPECT_EQ(reachOf(bytes), Reach::kLocal);
  EXPECT_EQ(reachOf({}), Reach::kLocal);
}

}  // namespace
}  // namespace NimboEngine

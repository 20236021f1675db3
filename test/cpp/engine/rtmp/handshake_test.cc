#include "rtmp/handshake.h"

#include <gtest/gtest.h>

#include "support/rtmp_script.h"

namespace NimboEngine {
namespace {

using test::Bytes;
using test::RtmpScript;

TEST(Handshake, BeginsWithTheVersionAndItsPart) {
  Bytes out;
  Handshake::begin(out);
  ASSERT_EQ(out.size(), 1 + Handshake::kPartBytes);
  EXPECT_EQ(out[0], 3);
  EXPECT_EQ(Bytes(out.begin() + 5, out.begin() + 9), Bytes(4, 0));
}

TEST(Handshake, InChunksOfAnySize) {
  Bytes all = RtmpScript::handshake();
  all.insert(all.end(), {1, 2, 3});
  for (const std::size_t step : {std::size_t{1}, std::size_t{7}, std::size_t{1536}, all.size()}) {
    Handshake handshake;
    Bytes out;
    Bytes rest;
    for (std::size_t at = 0; at < all.size(); at += step) {
      auto piece = std::span<const uint8_t>(all).subspan(at, std::min(step, all.size() - at));
      EXPECT_EQ(handshake.isComplete(), at >= all.size() - 3);
      if (!handshake.isComplete()) {
        EXPECT_TRUE(handshake.receive(piece, out));
      }
      rest.insert(rest.end(), piece.begin(), piece.end());
    }
    EXPECT_TRUE(handshake.isComplete());
    EXPECT_EQ(out, Bytes(Handshake::kPartBytes, 0x5a)) << "the server's part, sent back";
    EXPECT_EQ(rest, (Bytes{1, 2, 3})) << "what follows is not the handshake's";
  }
}

TEST(Handshake, Versions) {
  for (int version = 0; version < 256; ++version) {
    const Bytes bytes = {static_cast<uint8_t>(version)};
    std::span<const uint8_t> rest = bytes;
    Bytes out;
    const auto received = Handshake().receive(rest, out);
    EXPECT_EQ(received.has_value(), version >= 3 && version <= 31) << version;
    if (!received) {
      EXPECT_EQ(received.error().code, ConnectionError::kProtocolViolation);
    }
  }
}

}  // namespace
}  // namespace NimboEngine

#include "fetch/playlist.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace NimboEngine {
namespace {

constexpr std::size_t kMost = 100'000;

// Names each address "<kind of address>", and refuses "bad".
Result<std::string> listedName(const std::string& reference, FetchKind kind) {
  if (reference == "bad") return refused("it is bad");
  return fmt::format("<{} {}>", static_cast<int>(kind), reference);
}

std::string rewritten(const std::string& text) {
  const auto result = rewritePlaylist(text, kMost, listedName);
  return result ? *result : "refused: " + result.error().text;
}

std::optional<bool> begins(std::string_view text) {
  return beginsPlaylist({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

TEST(Playlist, IsRecognisedByItsBeginning) {
  EXPECT_EQ(begins("#EXTM3U\n"), true);
  EXPECT_EQ(begins("\xef\xbb\xbf#EXTM3U"), true);
  EXPECT_EQ(begins("#EXTM3Uanything"), true);
  EXPECT_EQ(begins("#EXTM4U"), false);
  EXPECT_EQ(begins(" #EXTM3U"), false);
  for (const char* text : {"", "#", "#EXTM3", "\xef\xbb", "\xef\xbb\xbf", "\xef\xbb\xbf#EXT"}) {
    EXPECT_EQ(begins(text), std::nullopt) << text;
  }
}

TEST(Playlist, SegmentsAreNamed) {
  EXPECT_EQ(
      rewritten("#EXTM3U\n#EXT-X-TARGETDURATION:2\n# comment\n\n#EXTINF:2,A title\n"
                "a.ts\r\n#EXTINF:2,\nb.ts"),
      "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,A title\n<2 a.ts>\n#EXTINF:2,\n<2 b.ts>\n");
}

TEST(Playlist, OtherPlaylistsAreNamed) {
  EXPECT_EQ(rewritten("#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1,NAME=\"URI=\"\nlow.m3u8\n"
                      "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"a,b\",URI=\"audio.m3u8\",DEFAULT=YES\n"
                      "#EXT-X-I-FRAME-STREAM-INF:URI=\"i.m3u8\"\n"),
            "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1,NAME=\"URI=\"\n<1 low.m3u8>\n"
            "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"a,b\",URI=\"<1 audio.m3u8>\",DEFAULT=YES\n"
            "#EXT-X-I-FRAME-STREAM-INF:URI=\"<1 i.m3u8>\"\n");
}

TEST(Playlist, KeysAndMapsAreNamed) {
  EXPECT_EQ(rewritten("#EXTM3U\n#EXT-X-KEY:METHOD=AES-128,URI=\"k\", IV=0x1\n#EXT-X-MAP:URI=\"m\"\n"
                      "#EXT-X-KEY:METHOD=NONE\n#EXT-X-KEY:METHOD=AES-128,URI=bare\n"),
            "#EXTM3U\n#EXT-X-KEY:METHOD=AES-128,URI=\"<4 k>\",IV=0x1\n#EXT-X-MAP:URI=\"<3 m>\"\n"
            "#EXT-X-KEY:METHOD=NONE\n#EXT-X-KEY:METHOD=AES-128,URI=\"<4 bare>\"\n");
}

TEST(Playlist, OtherTagsWithAddressesAreLeftOut) {
  EXPECT_EQ(
      rewritten("#EXTM3U\n#EXT-X-SESSION-KEY:METHOD=X,URI=\"skd://k\"\n"
                "#EXT-X-PART:URI=\"p\",DURATION=1\n#EXTINF:2,URI=\"bad\"\na\n#EXTURI=\"x\"\n"),
      "#EXTM3U\n#EXTINF:2,\n<2 a>\n");
}

// Other parsers would read each of these differently.
TEST(Playlist, HidesNothing) {
  EXPECT_EQ(rewritten("#EXTM3U#EXT-X-STREAM-INF:BANDWIDTH=1\nfd://0\n"), "#EXTM3U\n<2 fd://0>\n");
  EXPECT_EQ(rewritten("#EXTM3U\rfd://0\na\rfd://0\n"), "#EXTM3U\n<2 a>\n");
  EXPECT_EQ(rewritten("\xef\xbb\xbf#EXTM3U\n \n"), "#EXTM3U\n<2  >\n");
  for (const char* list : {"URI=\"a", "URI=\"a\"b", "URI=a\"b\"", "uri=\"a\",URI=\"b\"",
                           "=URI=", "METHOD,URI=\"a\"", "URI=\"a\";X=\"b\""}) {
    EXPECT_EQ(rewritten(std::string("#EXTM3U\n#EXT-X-KEY:") + list + "\n"),
              "refused: the tag #EXT-X-KEY of the playlist cannot be read")
        << list;
  }
}

TEST(Playlist, OneRefusedAddressRefusesAll) {
  const std::string refusal = "refused: it is bad";
  EXPECT_EQ(rewritten("#EXTM3U\na\nbad\n"), refusal);
  EXPECT_EQ(rewritten("#EXTM3U\n#EXT-X-KEY:METHOD=AES-128,URI=\"bad\"\na\n"), refusal);
  EXPECT_EQ(rewritten("#EXTM3U\n#EXT-X-MAP:URI=\"bad\"\na\n"), refusal);
}

TEST(Playlist, BinaryDataIsRefused) {
  const std::string refusal = "refused: the playlist is not text";
  EXPECT_EQ(rewritten(std::string("#EXTM3U\na\0b\n", 12)), refusal);
  EXPECT_EQ(rewritten("#EXTM3U\n\xff\n"), refusal);
}

TEST(Playlist, AnAddressStaysOnItsLine) {
  for (const char* given : {"a\"b", "a\nb", "a\rb"}) {
    const NameAddress same = [&](const std::string&, FetchKind) {
      return Result<std::string>(given);
    };
    EXPECT_FALSE(rewritePlaylist("#EXTM3U\nx\n", kMost, same)) << given;
  }
}

TEST(Playlist, HasLimits) {
  std::string text = "#EXTM3U\n";
  for (std::size_t i = 0; i <= kMostPlaylistEntries; ++i) text += "a\n";
  const auto tooMany = rewritePlaylist(text, 100'000'000, listedName);
  ASSERT_FALSE(tooMany);
  EXPECT_EQ(tooMany.error().text, "the playlist has more than 50000 entries");
  EXPECT_FALSE(rewritePlaylist("#EXTM3U\naaaa\n", 10, listedName));
}

}  // namespace
}  // namespace NimboEngine

#include "fetch/body_guard.h"

#include <gtest/gtest.h>

#include <string>

namespace NimboEngine {
namespace {

constexpr std::size_t kKib = 1024;

SourceSettings settings() {
  SourceSettings small;
  small.playlistBytes = 4 * kKib;
  small.tagBytes = 16 * kKib;
  return small;
}

Result<std::string> name(const std::string& reference, FetchKind) {
  if (reference == "bad") return refused("no");
  return "named-" + reference;
}

struct Outcome {
  std::string passed;
  std::string error;
  bool isPlaylist = false;
};

Outcome pass(FetchKind kind, const std::string& body, std::size_t piece) {
  BodyGuard guard(kind, settings(), name);
  Outcome outcome;
  for (std::size_t at = 0; at < body.size(); at += piece) {
    const std::string part = body.substr(at, piece);
    std::vector<uint8_t> bytes(part.begin(), part.end());
    if (const auto failure = guard.feed(bytes)) {
      outcome.error = failure->text;
      return outcome;
    }
    outcome.passed.append(bytes.begin(), bytes.end());
  }
  std::vector<uint8_t> rest;
  if (const auto failure = guard.finish(rest)) outcome.error = failure->text;
  outcome.passed.append(rest.begin(), rest.end());
  outcome.isPlaylist = guard.isPlaylist();
  return outcome;
}

std::string id3(std::size_t size) {
  std::string tag = "ID3\x04";
  tag += std::string(2, '\0');
  for (const unsigned shift : {21U, 14U, 7U, 0U}) {
    tag += static_cast<char>((size >> shift) & 0x7f);
  }
  return tag;
}

std::string ape(std::size_t size) {
  std::string tag = "APETAGEX" + std::string(4, '\0');
  for (const unsigned shift : {0U, 8U, 16U, 24U}) tag += static_cast<char>(size >> shift);
  return tag + std::string(16, '\0');
}

TEST(BodyGuard, MediaPassesUnchanged) {
  for (const std::string& body : {std::string("FLV media"), std::string("#EXT"), std::string()}) {
    for (std::size_t piece = 1; piece <= body.size(); ++piece) {
      const Outcome outcome = pass(FetchKind::kStream, body, piece);
      EXPECT_EQ(outcome.passed, body);
      EXPECT_EQ(outcome.error, "");
      EXPECT_FALSE(outcome.isPlaylist);
    }
  }
}

TEST(BodyGuard, APlaylistPassesCompleteAndRewritten) {
  const std::string body = "#EXTM3U\n#EXTINF:1,\na\n";
  for (const auto kind : {FetchKind::kStream, FetchKind::kPlaylist, FetchKind::kMedia}) {
    for (std::size_t piece = 1; piece <= body.size(); ++piece) {
      const Outcome outcome = pass(kind, body, piece);
      EXPECT_EQ(outcome.passed, "#EXTM3U\n#EXTINF:1,\nnamed-a\n");
      EXPECT_TRUE(outcome.isPlaylist);
    }
  }
  EXPECT_EQ(pass(FetchKind::kStream, "#EXTM3U\nbad\n", 5).error, "no");
}

TEST(BodyGuard, DataKeptInMemoryHaveALimit) {
  const std::string large(5 * kKib, 'a');
  EXPECT_EQ(pass(FetchKind::kStream, "#EXTM3U\n" + large, 100).error,
            "the playlist is larger than 4 KiB, the limit");
  EXPECT_EQ(pass(FetchKind::kKey, large, 100).error, "a key is larger than 4 KiB, the limit");
  EXPECT_EQ(pass(FetchKind::kMap, large, 100).error,
            "the header of segments is larger than 4 KiB, the limit");
  EXPECT_EQ(pass(FetchKind::kMedia, large, 100).error, "");
  EXPECT_EQ(pass(FetchKind::kKey, std::string(16, 'k'), 100).error, "");
}

TEST(BodyGuard, AnotherPlaylistMustBeOne) {
  EXPECT_NE(pass(FetchKind::kPlaylist, "<html>", 3).error, "");
  EXPECT_NE(pass(FetchKind::kPlaylist, "#EX", 3).error, "");
}

TEST(BodyGuard, TagsHaveALimit) {
  const std::string tooLarge = "the tags in front of the media are larger than 16 KiB, the limit";
  const std::string small = id3(8 * kKib) + std::string(8 * kKib, 't');
  for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::size_t{100'000}}) {
    EXPECT_EQ(pass(FetchKind::kStream, id3((1 << 28) - 1), piece).error, tooLarge);
    EXPECT_EQ(pass(FetchKind::kMedia, ape(0xffffffff), piece).error, tooLarge);
    EXPECT_EQ(pass(FetchKind::kStream, small + "media", piece).passed, small + "media");
    EXPECT_EQ(pass(FetchKind::kStream, small + small, piece).error, tooLarge) << "all together";
    EXPECT_EQ(pass(FetchKind::kStream, small + ape(9 * kKib), piece).error, tooLarge);
    EXPECT_EQ(pass(FetchKind::kStream, "media" + id3((1 << 28) - 1), piece).error, "");
  }
}

}  // namespace
}  // namespace NimboEngine

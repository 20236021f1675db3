#include "flv/flv_parser.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "flv/flv_bytes.h"

namespace NimboEngine {
namespace {

using namespace test;

struct Seen {
  FlvTagType type;
  uint32_t timestampMs;
  FlvBytes body;
  bool encrypted;
  bool afterGap;
};

// Feeds `bytes` in chunks of `step` bytes and returns all tags.
std::vector<Seen> parse(FlvParser& parser, const FlvBytes& bytes, std::size_t step = SIZE_MAX) {
  std::vector<Seen> seen;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t count = std::min(step, bytes.size() - at);
    // A copy, so that the sanitizers find a reference that is kept too long.
    const FlvBytes piece(bytes.data() + at, bytes.data() + at + count);
    parser.feed(piece);
    RawFlvTag tag;
    while (parser.next(tag) == FlvParser::Status::kTag) {
      seen.push_back({tag.type,
                      tag.timestampMs,
                      {tag.body.begin(), tag.body.end()},
                      tag.encrypted,
                      tag.afterGap});
    }
    at += count;
  }
  return seen;
}

std::vector<Seen> parse(const FlvBytes& bytes, std::size_t step = SIZE_MAX) {
  FlvParser parser;
  return parse(parser, bytes, step);
}

FlvBytes twoTags() {
  return joined(audioTag(5, {1, 2, 3}), videoTag(0x01020304, {4, 5}));
}

void expectTwoTags(const std::vector<Seen>& seen) {
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].type, FlvTagType::kAudio);
  EXPECT_EQ(seen[0].timestampMs, 5u);
  EXPECT_EQ(seen[0].body, (FlvBytes{1, 2, 3}));
  EXPECT_FALSE(seen[0].encrypted);
  EXPECT_EQ(seen[1].type, FlvTagType::kVideo);
  EXPECT_EQ(seen[1].timestampMs, 0x01020304u);
  EXPECT_EQ(seen[1].body, (FlvBytes{4, 5}));
}

TEST(FlvParserTest, SplitsAFileCutAnywhere) {
  const FlvBytes bytes = joined(fileHeader(), twoTags());
  for (std::size_t step = 1; step <= bytes.size(); ++step) {
    SCOPED_TRACE(step);
    expectTwoTags(parse(bytes, step));
  }
}

TEST(FlvParserTest, NeedsNoFileHeader) {
  expectTwoTags(parse(twoTags()));
}

TEST(FlvParserTest, DeliversATagBeforeItsTrailerHasCome) {
  FlvBytes bytes = joined(fileHeader(), videoTag(7, {1}));
  bytes.erase(bytes.end() - 4, bytes.end());
  EXPECT_EQ(parse(bytes).size(), 1u);
}

TEST(FlvParserTest, AcceptsALongFileHeader) {
  const FlvBytes header = {'F', 'L', 'V', 1, 5, 0, 0, 0, 12, 1, 2, 3, 0, 0, 0, 0};
  expectTwoTags(parse(joined(header, twoTags()), 1));
}

TEST(FlvParserTest, AcceptsAFileHeaderInMidStream) {
  const auto seen = parse(joined(videoTag(900, {1}), fileHeader(), videoTag(0, {2})));
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_FALSE(seen[0].afterGap);
  EXPECT_TRUE(seen[1].afterGap);
}

TEST(FlvParserTest, IgnoresAWrongTrailer) {
  FlvBytes first = audioTag(5, {1, 2, 3});
  first.back() = 0xff;
  const auto seen = parse(joined(first, videoTag(0x01020304, {4, 5})));
  expectTwoTags(seen);
  EXPECT_FALSE(seen[1].afterGap);
}

TEST(FlvParserTest, ReportsEmptyEncryptedAndScriptTags) {
  const auto seen = parse(joined(audioTag(1, {}), tag(9 | 0x20, 2, {7}), tag(18, 3, {2})));
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_TRUE(seen[0].body.empty());
  EXPECT_EQ(seen[1].type, FlvTagType::kVideo);
  EXPECT_TRUE(seen[1].encrypted);
  EXPECT_EQ(seen[2].type, FlvTagType::kScript);
}

TEST(FlvParserTest, ResynchronisesAfterGarbage) {
  const FlvBytes bytes = joined(audioTag(1, {1, 2, 3}), text("garbage, and no tag at all"),
                                videoTag(2, {4, 5}), videoTag(3, {6}));
  for (const std::size_t step : {std::size_t{1}, std::size_t{10}, bytes.size()}) {
    SCOPED_TRACE(step);
    const auto seen = parse(bytes, step);
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[1].timestampMs, 2u);
    EXPECT_TRUE(seen[1].afterGap);
    EXPECT_FALSE(seen[2].afterGap);
  }
}

// A plausible header alone does not make a tag.
TEST(FlvParserTest, IgnoresATagHeaderWithAnotherTrailer) {
  FlvBytes fake = videoTag(2, {1, 2, 3});
  fake.back() ^= 1;
  const auto seen = parse(joined(FlvBytes{0xff}, fake, videoTag(9, {4})), 3);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].timestampMs, 9u);
}

TEST(FlvParserTest, ResynchronisesAtAFileHeader) {
  const FlvBytes cut = {9, 0, 0, 200};  // the header of a tag that a restart has cut off
  const FlvBytes bytes = joined(cut, FlvBytes(220, 0x55), fileHeader(), videoTag(0, {1}));
  const auto seen = parse(bytes);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[1].body, (FlvBytes{1}));
}

TEST(FlvParserTest, SkipsAnInvalidFileHeader) {
  for (const uint32_t size : {0u, 8u, 1025u, 0xffffffffu}) {
    SCOPED_TRACE(size);
    const FlvBytes header = joined(text("FLV\1\5"), bigEndian(size, 4), FlvBytes(4));
    const auto seen = parse(joined(header, videoTag(3, {1})));
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].timestampMs, 3u);
  }
}

TEST(FlvParserTest, SkipsTheHeaderOfAnOversizedTag) {
  const FlvBytes huge = joined(FlvBytes{9}, bigEndian(FlvParser::kMaxTagSize + 1, 3), FlvBytes(7));
  EXPECT_EQ(parse(joined(huge, videoTag(3, {1}))).size(), 1u);
}

TEST(FlvParserTest, AcceptsTheLargestTag) {
  const FlvBytes body(FlvParser::kMaxTagSize, 0x42);
  const auto seen = parse(videoTag(1, body), 65'536);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].body, body);
}

TEST(FlvParserTest, FailsOnOtherData) {
  FlvParser parser;
  RawFlvTag tag;
  const FlvBytes garbage(1 << 20, 0x3c);
  auto status = FlvParser::Status::kNeedData;
  std::size_t fed = 0;
  while (status == FlvParser::Status::kNeedData && fed <= 2 * FlvParser::kMaxSkippedBytes) {
    parser.feed(garbage);
    status = parser.next(tag);
    fed += garbage.size();
  }
  EXPECT_EQ(status, FlvParser::Status::kError);
  EXPECT_GT(fed, FlvParser::kMaxSkippedBytes);
  EXPECT_EQ(parser.next(tag), FlvParser::Status::kError);
  parser.reset();
  expectTwoTags(parse(parser, joined(fileHeader(), twoTags())));
}

// Each tag resets the count of skipped bytes.
TEST(FlvParserTest, ToleratesGarbageBetweenTags) {
  FlvParser parser;
  const FlvBytes piece = joined(FlvBytes(3 << 20, 0x3c), videoTag(1, {1}));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(parse(parser, piece, 100'000).size(), 1u);
}

}  // namespace
}  // namespace NimboEngine

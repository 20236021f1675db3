#include "publish/flv_tag.h"

#include <gtest/gtest.h>

#include <vector>

namespace NimboEngine {
namespace {

using Bytes = std::vector<uint8_t>;

GstPtr<GstBuffer> bufferOf(const Bytes& bytes) {
  GstPtr<GstBuffer> buffer(gst_buffer_new_allocate(nullptr, bytes.size(), nullptr));
  gst_buffer_fill(buffer.get(), 0, bytes.data(), bytes.size());
  return buffer;
}

// A tag's header with time stamp 0x04010203, then `body`.
Bytes tag(uint8_t type, const Bytes& body) {
  Bytes bytes = {type, 0, 0, static_cast<uint8_t>(body.size()), 1, 2, 3, 4, 0, 0, 0};
  for (const uint8_t byte : body) bytes.push_back(byte);
  return bytes;
}

class FlvTagTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { gst_init(nullptr, nullptr); }

  static PacketKind kindOf(const Bytes& bytes) { return classifyFlvTag(bufferOf(bytes).get()); }
};

TEST_F(FlvTagTest, KnowsTheKinds) {
  EXPECT_EQ(kindOf({'F', 'L', 'V', 1, 5, 0, 0, 0, 9, 0, 0, 0, 0}), PacketKind::kOther);
  EXPECT_EQ(kindOf(tag(18, {2, 0, 10})), PacketKind::kMetadata);
  EXPECT_EQ(kindOf(tag(9, {0x17, 0, 0})), PacketKind::kVideoHeader);
  EXPECT_EQ(kindOf(tag(9, {0x17, 1, 0})), PacketKind::kVideoKeyFrame);
  EXPECT_EQ(kindOf(tag(9, {0x27, 1, 0})), PacketKind::kVideoFrame);
  EXPECT_EQ(kindOf(tag(8, {0xaf, 0, 0})), PacketKind::kAudioHeader);
  EXPECT_EQ(kindOf(tag(8, {0xaf, 1, 0})), PacketKind::kAudioFrame);
}

TEST_F(FlvTagTest, DoesNotGuess) {
  EXPECT_EQ(kindOf({}), PacketKind::kOther);
  EXPECT_EQ(kindOf({9, 0, 0}), PacketKind::kOther);
  EXPECT_EQ(kindOf(tag(9, {0x17})), PacketKind::kOther);
  EXPECT_EQ(kindOf(tag(5, {0x17, 1, 0})), PacketKind::kOther);
}

TEST_F(FlvTagTest, ReadsTheTimestampWithItsUpperByte) {
  EXPECT_EQ(flvTimestamp(bufferOf(tag(9, {0x17, 1})).get()), 0x04010203u);
  EXPECT_EQ(flvTimestamp(bufferOf({9, 0, 0, 0, 1}).get()), 0u);
}

TEST_F(FlvTagTest, CopiesWithAnotherTimestamp) {
  const auto original = bufferOf(tag(18, {2, 0, 10}));
  const auto copy = withFlvTimestamp(original.get(), 0xfedcba98);
  EXPECT_EQ(flvTimestamp(copy.get()), 0xfedcba98u);
  EXPECT_EQ(flvTimestamp(original.get()), 0x04010203u);
  EXPECT_EQ(classifyFlvTag(copy.get()), PacketKind::kMetadata);
  EXPECT_EQ(gst_buffer_get_size(copy.get()), gst_buffer_get_size(original.get()));
}

}  // namespace
}  // namespace NimboEngine

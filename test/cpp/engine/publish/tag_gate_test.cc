#include "publish/tag_gate.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

constexpr std::size_t kLimit = 1000;

bool sends(TagGate& gate, FlvTag tag, std::size_t backlog = 0) {
  return gate.decide(tag, backlog).send;
}

TagGate flowing() {
  TagGate gate(false, kLimit);
  gate.open();
  gate.decide(FlvTag::kVideoKeyFrame, 0);
  return gate;
}

TEST(TagGate, IsClosedAtFirst) {
  TagGate gate(false, kLimit);
  EXPECT_FALSE(sends(gate, FlvTag::kVideoKeyFrame));
  EXPECT_FALSE(sends(gate, FlvTag::kMetadata));
}

TEST(TagGate, BeginsWithAKeyFrame) {
  TagGate gate(false, kLimit);
  gate.open();
  EXPECT_FALSE(sends(gate, FlvTag::kVideoHeader)) << "headers are repeated before the first frame";
  EXPECT_FALSE(sends(gate, FlvTag::kAudioFrame));
  EXPECT_FALSE(sends(gate, FlvTag::kVideoFrame));
  const auto verdict = gate.decide(FlvTag::kVideoKeyFrame, 0);
  EXPECT_TRUE(verdict.send);
  EXPECT_TRUE(verdict.first);
  EXPECT_FALSE(gate.decide(FlvTag::kVideoKeyFrame, 0).first);
  EXPECT_TRUE(sends(gate, FlvTag::kAudioFrame));
  EXPECT_TRUE(sends(gate, FlvTag::kVideoFrame));
}

TEST(TagGate, SoundAloneBeginsWithSound) {
  TagGate gate(true, kLimit);
  gate.open();
  EXPECT_TRUE(gate.decide(FlvTag::kAudioFrame, 0).first);
  EXPECT_TRUE(sends(gate, FlvTag::kAudioFrame));
}

TEST(TagGate, PassesChangedHeadersButNoFileHeader) {
  TagGate gate = flowing();
  EXPECT_TRUE(sends(gate, FlvTag::kVideoHeader));
  EXPECT_TRUE(sends(gate, FlvTag::kMetadata));
  EXPECT_FALSE(sends(gate, FlvTag::kFileHeader));
  EXPECT_FALSE(sends(gate, FlvTag::kOther));
}

TEST(TagGate, CatchesUpAtAKeyFrame) {
  TagGate gate = flowing();
  EXPECT_TRUE(sends(gate, FlvTag::kVideoFrame, kLimit));
  EXPECT_FALSE(sends(gate, FlvTag::kVideoFrame, kLimit + 1));
  EXPECT_FALSE(sends(gate, FlvTag::kVideoKeyFrame, kLimit + 1)) << "a key frame is no way around";
  EXPECT_FALSE(sends(gate, FlvTag::kAudioFrame, kLimit / 2)) << "a little room is not enough";
  EXPECT_TRUE(sends(gate, FlvTag::kVideoHeader, kLimit + 1));
  const auto verdict = gate.decide(FlvTag::kVideoFrame, kLimit / 4);
  EXPECT_FALSE(verdict.send);
  EXPECT_TRUE(verdict.needsKeyFrame);
  EXPECT_FALSE(gate.decide(FlvTag::kVideoFrame, 0).needsKeyFrame) << "asked for once";
  const auto again = gate.decide(FlvTag::kVideoKeyFrame, 0);
  EXPECT_TRUE(again.send);
  EXPECT_FALSE(again.first) << "the same connection has its headers";
  EXPECT_EQ(gate.dropped(), 5u);
}

TEST(TagGate, ANewConnectionBeginsAnew) {
  TagGate gate = flowing();
  gate.close();
  EXPECT_FALSE(sends(gate, FlvTag::kVideoKeyFrame));
  gate.open();
  EXPECT_FALSE(sends(gate, FlvTag::kVideoFrame));
  EXPECT_TRUE(gate.decide(FlvTag::kVideoKeyFrame, 0).first);
}

}  // namespace
}  // namespace NimboEngine

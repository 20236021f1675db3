#include "publish/frame_gate.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr auto kLimit = 2000ms;

bool sends(FrameGate& gate, FlvTag tag, std::chrono::milliseconds waiting = 0ms) {
  return gate.decide(tag, waiting).send;
}

FrameGate flowing() {
  FrameGate gate(false);
  gate.open();
  gate.decide(FlvTag::kVideoKeyFrame, 0ms);
  return gate;
}

TEST(FrameGate, IsClosedAtFirst) {
  FrameGate gate(false);
  EXPECT_FALSE(sends(gate, FlvTag::kVideoKeyFrame));
  EXPECT_FALSE(sends(gate, FlvTag::kMetadata));
}

TEST(FrameGate, StartsWithAKeyFrame) {
  FrameGate gate(false);
  gate.open();
  EXPECT_FALSE(sends(gate, FlvTag::kVideoHeader)) << "headers are repeated before the first frame";
  EXPECT_FALSE(sends(gate, FlvTag::kAudioFrame));
  EXPECT_FALSE(sends(gate, FlvTag::kVideoFrame));
  const auto decision = gate.decide(FlvTag::kVideoKeyFrame, 0ms);
  EXPECT_TRUE(decision.send);
  EXPECT_TRUE(decision.first);
  EXPECT_FALSE(gate.decide(FlvTag::kVideoKeyFrame, 0ms).first);
  EXPECT_TRUE(sends(gate, FlvTag::kAudioFrame));
  EXPECT_TRUE(sends(gate, FlvTag::kVideoFrame));
}

TEST(FrameGate, AudioOnlyStartsWithAudio) {
  FrameGate gate(true);
  gate.open();
  EXPECT_TRUE(gate.decide(FlvTag::kAudioFrame, 0ms).first);
  EXPECT_TRUE(sends(gate, FlvTag::kAudioFrame));
}

TEST(FrameGate, PassesFramesOnly) {
  FrameGate gate = flowing();
  for (const FlvTag tag : {FlvTag::kFileHeader, FlvTag::kMetadata, FlvTag::kVideoHeader,
                           FlvTag::kAudioHeader, FlvTag::kOther}) {
    EXPECT_FALSE(sends(gate, tag));
  }
}

TEST(FrameGate, CatchesUpAtAKeyFrame) {
  FrameGate gate = flowing();
  EXPECT_TRUE(sends(gate, FlvTag::kVideoFrame, kLimit));
  const auto dropping = gate.decide(FlvTag::kVideoFrame, kLimit + 1ms);
  EXPECT_FALSE(dropping.send);
  EXPECT_TRUE(dropping.beginsToDrop);
  EXPECT_FALSE(gate.decide(FlvTag::kVideoFrame, kLimit + 1ms).beginsToDrop) << "reported once";
  EXPECT_FALSE(sends(gate, FlvTag::kVideoKeyFrame, kLimit + 1ms)) << "a key frame is no way around";
  EXPECT_FALSE(sends(gate, FlvTag::kAudioFrame, kLimit / 2)) << "a little room is not enough";
  const auto decision = gate.decide(FlvTag::kVideoFrame, kLimit / 4);
  EXPECT_FALSE(decision.send);
  EXPECT_TRUE(decision.needsKeyFrame);
  EXPECT_FALSE(gate.decide(FlvTag::kVideoFrame, 0ms).needsKeyFrame) << "asked for once";
  const auto again = gate.decide(FlvTag::kVideoKeyFrame, 0ms);
  EXPECT_TRUE(again.send);
  EXPECT_FALSE(again.first) << "the same connection has its headers";
  EXPECT_EQ(gate.dropped(), 6u);
}

TEST(FrameGate, ANewConnectionRestarts) {
  FrameGate gate = flowing();
  gate.close();
  EXPECT_FALSE(sends(gate, FlvTag::kVideoKeyFrame));
  gate.open();
  EXPECT_FALSE(sends(gate, FlvTag::kVideoFrame));
  EXPECT_TRUE(gate.decide(FlvTag::kVideoKeyFrame, 0ms).first);
}

}  // namespace
}  // namespace NimboEngine

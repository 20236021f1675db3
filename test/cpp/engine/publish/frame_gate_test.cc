#include "publish/frame_gate.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr auto kLimit = 2000ms;

bool sends(FrameGate& gate, FrameKind frame, std::chrono::milliseconds waiting = 0ms) {
  return gate.decide(frame, waiting).send;
}

FrameGate flowing() {
  FrameGate gate(false);
  gate.open();
  gate.decide(FrameKind::kKeyFrame, 0ms);
  return gate;
}

TEST(FrameGate, IsClosedAtFirst) {
  FrameGate gate(false);
  EXPECT_FALSE(sends(gate, FrameKind::kKeyFrame));
}

TEST(FrameGate, StartsWithAKeyFrame) {
  FrameGate gate(false);
  gate.open();
  EXPECT_FALSE(sends(gate, FrameKind::kAudio));
  EXPECT_FALSE(sends(gate, FrameKind::kDeltaFrame));
  const auto decision = gate.decide(FrameKind::kKeyFrame, 0ms);
  EXPECT_TRUE(decision.send);
  EXPECT_TRUE(decision.first);
  EXPECT_FALSE(gate.decide(FrameKind::kKeyFrame, 0ms).first);
  EXPECT_TRUE(sends(gate, FrameKind::kAudio));
  EXPECT_TRUE(sends(gate, FrameKind::kDeltaFrame));
}

TEST(FrameGate, AudioOnlyStartsWithAudio) {
  FrameGate gate(true);
  gate.open();
  EXPECT_TRUE(gate.decide(FrameKind::kAudio, 0ms).first);
  EXPECT_TRUE(sends(gate, FrameKind::kAudio));
}

TEST(FrameGate, CatchesUpAtAKeyFrame) {
  FrameGate gate = flowing();
  EXPECT_TRUE(sends(gate, FrameKind::kDeltaFrame, kLimit));
  const auto dropping = gate.decide(FrameKind::kDeltaFrame, kLimit + 1ms);
  EXPECT_FALSE(dropping.send);
  EXPECT_TRUE(dropping.beginsToDrop);
  EXPECT_FALSE(gate.decide(FrameKind::kDeltaFrame, kLimit + 1ms).beginsToDrop) << "reported once";
  EXPECT_FALSE(sends(gate, FrameKind::kKeyFrame, kLimit + 1ms)) << "a key frame is no way around";
  EXPECT_FALSE(sends(gate, FrameKind::kAudio, kLimit / 2)) << "a little room is not enough";
  const auto decision = gate.decide(FrameKind::kDeltaFrame, kLimit / 4);
  EXPECT_FALSE(decision.send);
  EXPECT_TRUE(decision.needsKeyFrame);
  EXPECT_FALSE(gate.decide(FrameKind::kDeltaFrame, 0ms).needsKeyFrame) << "asked for once";
  const auto again = gate.decide(FrameKind::kKeyFrame, 0ms);
  EXPECT_TRUE(again.send);
  EXPECT_FALSE(again.first) << "the same connection has its headers";
  EXPECT_EQ(gate.dropped(), 6u);
}

TEST(FrameGate, ANewConnectionRestarts) {
  FrameGate gate = flowing();
  gate.close();
  EXPECT_FALSE(sends(gate, FrameKind::kKeyFrame));
  gate.open();
  EXPECT_FALSE(sends(gate, FrameKind::kDeltaFrame));
  EXPECT_TRUE(gate.decide(FrameKind::kKeyFrame, 0ms).first);
}

}  // namespace
}  // namespace NimboEngine

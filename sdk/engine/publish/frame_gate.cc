#include "publish/frame_gate.h"

namespace NimboEngine {
namespace {

// How far a viewer may fall behind before frames are skipped.
constexpr std::chrono::milliseconds kLimit{2000};

}  // namespace

FrameGate::FrameGate(bool audioOnly) : audioOnly_(audioOnly) {}

void FrameGate::open() {
  state_ = State::kWaiting;
  started_ = false;
}

void FrameGate::close() {
  state_ = State::kClosed;
}

bool FrameGate::startsStream(FrameKind frame) const {
  return frame == (audioOnly_ ? FrameKind::kAudio : FrameKind::kKeyFrame);
}

FrameGate::Decision FrameGate::decide(FrameKind frame, std::chrono::milliseconds waiting) {
  switch (state_) {
    case State::kClosed:
      return {};
    case State::kWaiting: {
      if (!startsStream(frame)) {
        if (started_) ++dropped_;
        return {};
      }
      state_ = State::kFlowing;
      const bool first = !started_;
      started_ = true;
      return {.send = true, .first = first};
    }
    case State::kFlowing:
      return flow(waiting);
    case State::kCatchingUp:
      return catchUp(waiting);
  }
  return {};
}

FrameGate::Decision FrameGate::flow(std::chrono::milliseconds waiting) {
  // Headers pass nevertheless: without them the following frames could not be decoded.
  if (waiting <= kLimit) return {.send = true};
  state_ = State::kCatchingUp;
  ++dropped_;
  return {.beginsToDrop = true};
}

FrameGate::Decision FrameGate::catchUp(std::chrono::milliseconds waiting) {
  ++dropped_;
  if (waiting > kLimit / 4) return {};
  state_ = State::kWaiting;
  return {.needsKeyFrame = !audioOnly_};
}

}  // namespace NimboEngine

#include "publish/tag_gate.h"

namespace NimboEngine {
namespace {

bool isFrame(FlvTag tag) {
  return tag == FlvTag::kVideoKeyFrame || tag == FlvTag::kVideoFrame || tag == FlvTag::kAudioFrame;
}

bool isUseful(FlvTag tag) {
  return tag != FlvTag::kFileHeader && tag != FlvTag::kOther;
}

}  // namespace

TagGate::TagGate(bool audioOnly, std::size_t backlogLimit)
    : audioOnly_(audioOnly), limit_(backlogLimit) {}

void TagGate::open() {
  state_ = State::kWaiting;
  started_ = false;
}

void TagGate::close() {
  state_ = State::kClosed;
}

bool TagGate::startsStream(FlvTag tag) const {
  return tag == (audioOnly_ ? FlvTag::kAudioFrame : FlvTag::kVideoKeyFrame);
}

TagGate::Verdict TagGate::decide(FlvTag tag, std::size_t backlog) {
  switch (state_) {
    case State::kClosed:
      return {};
    case State::kWaiting: {
      if (!startsStream(tag)) {
        if (started_ && isFrame(tag)) ++dropped_;
        return {};
      }
      state_ = State::kFlowing;
      const bool first = !started_;
      started_ = true;
      return {.send = true, .first = first};
    }
    case State::kFlowing:
      return flow(tag, backlog);
    case State::kCatchingUp:
      return catchUp(tag, backlog);
  }
  return {};
}

TagGate::Verdict TagGate::flow(FlvTag tag, std::size_t backlog) {
  // Headers pass even then: without them nothing that follows could be decoded.
  if (!isFrame(tag) || backlog <= limit_) return {.send = isUseful(tag)};
  state_ = State::kCatchingUp;
  ++dropped_;
  return {};
}

TagGate::Verdict TagGate::catchUp(FlvTag tag, std::size_t backlog) {
  if (!isFrame(tag)) return {.send = isUseful(tag)};
  ++dropped_;
  if (backlog > limit_ / 4) return {};
  state_ = State::kWaiting;
  return {.needsKeyFrame = !audioOnly_};
}

}  // namespace NimboEngine

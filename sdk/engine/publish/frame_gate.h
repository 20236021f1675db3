// Decides which frames are sent, without access to media or network.
//
// A connection must start with a key frame, and one that falls behind must catch up by skipping
// whole GOPs: after a randomly dropped frame the video would be corrupt until the next key frame.
// So the gate is closed until a key frame arrives; when more than two seconds of media are queued
// it drops everything until three quarters of them have been sent, requests a key frame and
// continues from there.
//
// Headers are not handled here. The caller sends them before the frames that need them.
//
// Thread: one at a time; the caller locks.

#pragma once

#include <chrono>
#include <cstdint>

namespace NimboEngine {

enum class FrameKind { kKeyFrame, kDeltaFrame, kAudio };

class FrameGate {
 public:
  struct Decision {
    bool send = false;
    bool first = false;          // the first frame of a connection: preceded by headers
    bool needsKeyFrame = false;  // the encoder should produce one immediately
    bool beginsToDrop = false;   // from here on frames are dropped, up to the next key frame
  };

  explicit FrameGate(bool audioOnly);

  // A connection has been established and waits for its first frame.
  void open();
  void close();

  // Decides about a frame while media of this playing time are queued.
  Decision decide(FrameKind frame, std::chrono::milliseconds waiting);

  // Total of frames dropped to catch up.
  uint64_t dropped() const { return dropped_; }

 private:
  enum class State { kClosed, kWaiting, kFlowing, kCatchingUp };

  bool startsStream(FrameKind frame) const;
  Decision flow(std::chrono::milliseconds waiting);
  Decision catchUp(std::chrono::milliseconds waiting);

  const bool audioOnly_;
  State state_ = State::kClosed;
  bool started_ = false;  // the connection has had its first frame
  uint64_t dropped_ = 0;
};

}  // namespace NimboEngine

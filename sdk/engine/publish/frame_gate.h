// Decides which frames go to the network, without any media or network itself.
//
// A connection can only begin with a key frame, and one that falls behind must catch up by
// skipping whole groups of pictures: frames dropped at random would be garbage until the next key
// frame. So the gate is shut until a key frame comes; when more than two seconds of media wait to
// be sent it drops everything until three quarters of them are gone, asks for a key frame and goes
// on from there.
//
// Only frames pass. Headers are the caller's business, who knows which frames need them.
//
// Thread: one at a time; the caller locks.

#pragma once

#include <chrono>
#include <cstdint>

#include "publish/flv_tag.h"

namespace NimboEngine {

class FrameGate {
 public:
  struct Decision {
    bool send = false;
    bool first = false;          // the first frame of a connection: headers go before it
    bool needsKeyFrame = false;  // the encoder should make one at once
    bool beginsToDrop = false;   // from here on frames are left out, up to the next key frame
  };

  explicit FrameGate(bool audioOnly);

  // A connection is there: it waits for its first frame.
  void open();
  void close();

  // What to do with `tag` while media of this playing time wait to be sent.
  Decision decide(FlvTag tag, std::chrono::milliseconds waiting);

  // Frames dropped to catch up, in all.
  uint64_t dropped() const { return dropped_; }

 private:
  enum class State { kClosed, kWaiting, kFlowing, kCatchingUp };

  bool startsStream(FlvTag tag) const;
  Decision flow(std::chrono::milliseconds waiting);
  Decision catchUp(std::chrono::milliseconds waiting);

  const bool audioOnly_;
  State state_ = State::kClosed;
  bool started_ = false;  // the connection has had its first frame
  uint64_t dropped_ = 0;
};

}  // namespace NimboEngine

// Decides which tags go to the network, without any media or network itself.
//
// A connection can only begin with a key frame, and one that falls behind must catch up by
// skipping whole groups of pictures: frames dropped at random would be garbage until the next key
// frame. So the gate is shut until a key frame comes; when more than the limit is waiting to be
// sent it drops everything until three quarters of it are gone, asks for a key frame and goes on
// from there.
//
// Thread: one at a time; the caller locks.

#pragma once

#include <cstddef>
#include <cstdint>

#include "publish/flv_tag.h"

namespace NimboEngine {

class TagGate {
 public:
  struct Verdict {
    bool send = false;
    bool first = false;          // the first frame of a connection: headers go before it
    bool needsKeyFrame = false;  // the encoder should make one at once
  };

  // `backlogLimit` in bytes.
  TagGate(bool audioOnly, std::size_t backlogLimit);

  // A connection is there: it waits for its first frame.
  void open();
  void close();

  // What to do with `tag` while `backlog` bytes wait to be sent.
  Verdict decide(FlvTag tag, std::size_t backlog);

  // Frames dropped to catch up, in all.
  uint64_t dropped() const { return dropped_; }

 private:
  enum class State { kClosed, kWaiting, kFlowing, kCatchingUp };

  bool startsStream(FlvTag tag) const;
  Verdict flow(FlvTag tag, std::size_t backlog);
  Verdict catchUp(FlvTag tag, std::size_t backlog);

  const bool audioOnly_;
  const std::size_t limit_;
  State state_ = State::kClosed;
  bool started_ = false;  // the connection has had its first frame
  uint64_t dropped_ = 0;
};

}  // namespace NimboEngine

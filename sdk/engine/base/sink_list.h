// The receivers of captured media, a mix or encoded packets.
//
// Thread: any. each() may run on several threads at once; add() and remove() block until no call is
//   running, so they must not be called from a sink.
// Ownership: the sinks are the caller's; each must be removed before it is destroyed.
// Failure: none.

#pragma once

#include <vector>

#include "base/mutex.h"

namespace NimboEngine {

template <class Sink>
class SinkList {
 public:
  void add(Sink* sink) {
    const ExclusiveLock lock(mutex_);
    sinks_.push_back(sink);
  }

  // After it has returned, no call of `sink` is running or will follow.
  void remove(Sink* sink) {
    const ExclusiveLock lock(mutex_);
    std::erase(sinks_, sink);
  }

  // Calls `use` with each, in the order in which they were added.
  template <class Use>
  void each(Use&& use) {
    const SharedLock lock(mutex_);
    for (Sink* sink : sinks_) use(*sink);
  }

 private:
  SharedMutex mutex_;
  std::vector<Sink*> sinks_ NIMBO_GUARDED_BY(mutex_);
};

}  // namespace NimboEngine

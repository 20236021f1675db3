// The list of consumers of captured media.
//
// Thread: any. each() may run on several threads at once; add() and remove() wait until no call is
//   running, so they must not be called from a consumer.
// Ownership: the consumers are the caller's; each must be removed before it is destroyed.

#pragma once

#include <algorithm>
#include <mutex>
#include <shared_mutex>
#include <vector>

#include "media/frame_consumer.h"

namespace NimboEngine {

class ConsumerList {
 public:
  void add(FrameConsumer* consumer) {
    std::lock_guard lock(mutex_);
    consumers_.push_back(consumer);
  }

  // When it returns, no call of `consumer` is running or will follow.
  void remove(FrameConsumer* consumer) {
    std::lock_guard lock(mutex_);
    consumers_.erase(std::remove(consumers_.begin(), consumers_.end(), consumer), consumers_.end());
  }

  template <class Use>
  void each(Use&& use) {
    std::shared_lock lock(mutex_);
    for (FrameConsumer* consumer : consumers_) use(*consumer);
  }

 private:
  std::shared_mutex mutex_;
  std::vector<FrameConsumer*> consumers_;
};

}  // namespace NimboEngine

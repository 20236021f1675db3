// Holds one listener and gives the guarantee on which the add-on's teardown relies: once set() has
// removed a listener, none of its callbacks is running or will run.
//
// Thread: any. Calls of the listener may run concurrently; set() waits for those in progress,
//   except for one in progress on the calling thread itself (a callback that detaches its own
//   listener would otherwise wait for itself).
// Ownership: the listener is the caller's.
// Failure: none.

#pragma once

#include <algorithm>
#include <thread>
#include <vector>

#include "base/mutex.h"

namespace NimboEngine {

template <class Listener>
class ListenerSlot {
 public:
  void set(Listener* listener) {
    MutexLock lock(mutex_);
    listener_ = listener;
    idle_.wait(lock, [this]() NIMBO_REQUIRES(mutex_) {
      const auto self = std::this_thread::get_id();
      return std::all_of(callers_.begin(), callers_.end(), [self](auto id) { return id == self; });
    });
  }

  // Calls `use` with the listener if there is one. Returns the result of `use`, or a
  // value-initialized result without a listener.
  template <class Use>
  auto call(Use&& use) -> decltype(use(std::declval<Listener&>())) {
    const Running running(*this);
    using Result = decltype(use(std::declval<Listener&>()));
    if (!running.listener) return Result();
    return use(*running.listener);
  }

 private:
  // One call in progress.
  struct Running {
    explicit Running(ListenerSlot& owner) : slot(owner) {
      const MutexLock lock(slot.mutex_);
      listener = slot.listener_;
      slot.callers_.push_back(std::this_thread::get_id());
    }
    ~Running() {
      {
        const MutexLock lock(slot.mutex_);
        auto& callers = slot.callers_;
        callers.erase(std::find(callers.begin(), callers.end(), std::this_thread::get_id()));
        // Under the lock: set() may return, and the slot be destroyed, as soon as the lock is
        // released.
        slot.idle_.notify_all();
      }
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    ListenerSlot& slot;
    Listener* listener = nullptr;
  };

  Mutex mutex_;
  ConditionVariable idle_;
  Listener* listener_ NIMBO_GUARDED_BY(mutex_) = nullptr;
  std::vector<std::thread::id> callers_ NIMBO_GUARDED_BY(mutex_);
};

}  // namespace NimboEngine

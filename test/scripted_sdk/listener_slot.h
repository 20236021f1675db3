// Holds one listener and keeps the interface's guarantee: set(nullptr) returns only when no call of
// the listener is running or will run.
//
// Thread: any. Calls of one listener may run concurrently. A callback may detach its own listener:
//   set does not wait for calls that run on the calling thread.
// Ownership: the listener is the caller's. The slot keeps the last one, so that a test can fire a
//   callback after the listener was detached.
// Failure: none.

#pragma once

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <tuple>

namespace ScriptedSdk {

// Selects the listener of a callback: the one that is set, or the last that was set.
enum class Through { kCurrent, kLast };

template <class Listener>
class ListenerSlot {
 public:
  void set(Listener* listener) {
    std::unique_lock lock(mutex_);
    current_ = listener;
    if (listener) last_ = listener;
    idle_.wait(lock, [this, listener] {
      return std::all_of(calls_.begin(), calls_.end(), [listener](const Call& call) {
        return call.listener == listener || call.thread == std::this_thread::get_id();
      });
    });
  }

  // Calls `use` with the listener. Returns false if there is none.
  template <class Use>
  bool call(Through through, Use&& use) {
    std::unique_lock lock(mutex_);
    Listener* const listener = through == Through::kLast ? last_ : current_;
    if (!listener) return false;
    const auto running = calls_.insert(calls_.end(), {listener, std::this_thread::get_id()});
    lock.unlock();
    use(*listener);
    lock.lock();
    calls_.erase(running);
    // Under the lock: once it is released, set() may return and the slot may be destroyed.
    idle_.notify_all();
    return true;
  }

 private:
  struct Call {
    Listener* listener;
    std::thread::id thread;
  };

  std::mutex mutex_;
  std::condition_variable idle_;
  Listener* current_ = nullptr;
  Listener* last_ = nullptr;
  std::list<Call> calls_;
};

// The slots of an object, one for each interface.
template <class... Listeners>
class ListenerSlots {
 public:
  template <class Listener>
  ListenerSlot<Listener>& slot() {
    return std::get<ListenerSlot<Listener>>(slots_);
  }
  template <class Listener>
  void set(Listener* listener) {
    slot<Listener>().set(listener);
  }
  void detachAll() { (slot<Listeners>().set(nullptr), ...); }

 private:
  std::tuple<ListenerSlot<Listeners>...> slots_;
};

}  // namespace ScriptedSdk

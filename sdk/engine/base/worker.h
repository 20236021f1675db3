// A thread with the state that it shares with its owner: for work that blocks in foreign code (a
// device's driver, a display server, the network) and reports to one listener.
//
//   struct Reader::State : WorkerState<ErrorCallback> {
//     void run();  // the thread's body; returns soon after `stopping` has become true
//   };
//   class Reader { … Worker<State> worker_; };
//
// Thread: Worker on any, one thread at a time; see each member of WorkerState.
// Ownership: the thread shares the state, so either may end first. Destroying the worker removes
//   the listener, stops the thread and waits for it as long as DetachableThread does; the thread
//   frees the state if it ends later. No call of the listener runs or follows then.
// Failure: if no thread can be started, hasStarted() is false and nothing runs.

#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "base/detachable_thread.h"
#include "base/listener_slot.h"
#include "base/mutex.h"

namespace NimboEngine {

// The base class of all workers' states. `Listener` is a function or a structure of functions;
// `Message` is the type of messages to the worker.
template <class Listener, class Message = std::monostate>
class WorkerState {
 public:
  explicit WorkerState(Listener listener) : listener_(std::move(listener)) {
    slot_.set(&listener_);
  }
  WorkerState(const WorkerState&) = delete;
  WorkerState& operator=(const WorkerState&) = delete;

  // Any thread. Waits for a call of the listener in progress; none follows.
  void detachListener() { slot_.set(nullptr); }

  // Any thread.
  void requestStop() {
    const MutexLock lock(mutex);
    stopping = true;
    changed.notify_all();
  }

  // Any thread.
  void send(Message message) {
    const MutexLock lock(mutex);
    messages.push_back(std::move(message));
    changed.notify_all();
  }

  // The worker's thread. Calls `use` with the listener while it is attached.
  template <class Use>
  void notify(Use&& use) {
    slot_.call(std::forward<Use>(use));
  }

 protected:
  ~WorkerState() = default;

  // The oldest message; there must be one.
  Message takeMessage() NIMBO_REQUIRES(mutex) {
    Message message = std::move(messages.front());
    messages.pop_front();
    return message;
  }

  // `changed` is notified whenever something changes that the worker's thread may wait for.
  Mutex mutex;
  ConditionVariable changed;
  bool stopping NIMBO_GUARDED_BY(mutex) = false;
  std::deque<Message> messages NIMBO_GUARDED_BY(mutex);

 private:
  Listener listener_;
  ListenerSlot<Listener> slot_;
};

struct WorkerThread {
  std::string name;  // as for nameThread()
  // How long destruction waits for the thread's end.
  std::chrono::milliseconds endTimeout = DetachableThread::kTimeout;
};

template <class State>
class Worker {
 public:
  // `arguments` are those of the state's constructor.
  template <class... Arguments>
  explicit Worker(WorkerThread thread, Arguments&&... arguments)
      : state_(std::make_shared<State>(std::forward<Arguments>(arguments)...)),
        thread_(
            std::move(thread.name), [state = state_] { state->run(); }, thread.endTimeout) {}
  ~Worker() { requestStop(); }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Starts stopping; the listener is not called any more. To stop several workers in parallel, call
  // this on all before destroying any.
  void requestStop() {
    state_->detachListener();
    state_->requestStop();
  }

  bool hasStarted() const { return thread_.hasStarted(); }

  State& operator*() const { return *state_; }
  State* operator->() const { return state_.get(); }

 private:
  const std::shared_ptr<State> state_;
  DetachableThread thread_;
};

}  // namespace NimboEngine

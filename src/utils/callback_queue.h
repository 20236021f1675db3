// Carries closures from any thread to the JavaScript thread, the one that runs libuv's default
// loop, and runs them there one after another in the order of their arrival.
//
// Thread: AsyncCall from any. Construction, destruction and the drain: the JavaScript thread.
// Ownership: owns the closures and, through libuv, the async handle: the handle's memory is freed
//   by a later turn of the loop. The queue may be destroyed by a closure that it is running;
//   closures that are still pending are destroyed unrun. No AsyncCall of another thread may be
//   running then.
// Failure: a refused call drops its closure and returns -1. Exceptions of closures are not caught.

#pragma once

#include <uv.h>

#include <atomic>
#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace LumoLivePushElectronSDK {

class CallBackQueue {
 public:
  // If no handle can be created, the queue starts stopped.
  CallBackQueue() : async_(OpenHandle(this)), stopped_(!async_) {}

  ~CallBackQueue() {
    stopped_ = true;
    async_.reset();
    // Destroyed after the lock is released: a closure's captures may call the queue.
    std::deque<Task> unrun;
    const std::lock_guard lock(state_->mutex);
    state_->closed = true;
    state_->pending.swap(unrun);
  }

  CallBackQueue(const CallBackQueue&) = delete;
  CallBackQueue& operator=(const CallBackQueue&) = delete;

  // Never waits for JavaScript, since it may be called on a capture thread. Returns 0, or -1
  // when the queue is stopped or libuv cannot be woken (then the closure stays queued and runs at
  // the next wake-up). `reserved` is ignored.
  int AsyncCall(std::function<void()>&& task, unsigned long long /*reserved*/) {
    if (stopped_) return -1;
    Task dropped;  // destroyed after the lock is released
    {
      const std::lock_guard lock(state_->mutex);
      auto& pending = state_->pending;
      // Deliberate: strictly greater, so one more than the maximum may be pending.
      if (state_->max_length != 0 && pending.size() > state_->max_length) {
        dropped = std::move(pending.front());
        pending.pop_front();
      }
      pending.push_back(std::move(task));
    }
    return uv_async_send(async_.get()) == 0 ? 0 : -1;
  }

  // Runs all pending closures, and those that they add.
  void HandlerEvent() {
    // A closure may destroy this queue; the state outlives it.
    const std::shared_ptr<State> state = state_;
    while (auto task = TakeFirst(*state)) (*task)();
  }

  // Callback of libuv: drains the queue in the handle's user data.
  static void AsyncCallback(uv_async_t* async) {
    static_cast<CallBackQueue*>(async->data)->HandlerEvent();
  }

  // Maximum number of pending closures, beyond which a call drops the oldest; 0, the default, means
  // unlimited.
  void SetMaxLength(unsigned long long max_length) {
    const std::lock_guard lock(state_->mutex);
    state_->max_length = max_length;
  }

  // Refuses calls from now on; pending closures still run. Used for shutdown.
  void Stop() { stopped_ = true; }

 private:
  using Task = std::function<void()>;

  struct State {
    std::mutex mutex;  // guards all members
    std::deque<Task> pending;
    unsigned long long max_length = 0;
    bool closed = false;  // the queue was destroyed
  };

  struct CloseHandle {
    void operator()(uv_async_t* async) const {
      uv_close(reinterpret_cast<uv_handle_t*>(async),
               [](uv_handle_t* handle) { std::free(handle); });
    }
  };
  using AsyncHandle = std::unique_ptr<uv_async_t, CloseHandle>;

  static AsyncHandle OpenHandle(CallBackQueue* queue) {
    auto* async = static_cast<uv_async_t*>(std::malloc(sizeof(uv_async_t)));
    if (!async) return nullptr;
    if (uv_async_init(uv_default_loop(), async, AsyncCallback) != 0) {
      std::free(async);  // not yet libuv's
      return nullptr;
    }
    async->data = queue;
    return AsyncHandle(async);
  }

  static std::optional<Task> TakeFirst(State& state) {
    const std::lock_guard lock(state.mutex);
    if (state.closed || state.pending.empty()) return std::nullopt;
    std::optional<Task> task(std::move(state.pending.front()));
    state.pending.pop_front();
    return task;
  }

  AsyncHandle async_;
  std::atomic<bool> stopped_;
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace LumoLivePushElectronSDK

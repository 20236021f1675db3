// The engine thread: runs every request, one after another, and calls every listener of the pusher
// except the frame listener, so events keep their order.
//
// Thread: post, postAfter, cancel, run and isCurrent may be called from any thread.
// Ownership: owns the thread. Destruction runs the tasks that are already due, drops delayed ones
//   and joins; it must not happen on the engine thread itself.
// Failure: the constructor throws std::system_error when no thread can be started. A task may throw
//   the same for the same reason, which is logged; it must not throw anything else.

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>

#include "base/mutex.h"

namespace NimboEngine {

class NIMBO_CAPABILITY("thread") EngineThread {
 public:
  using Task = std::function<void()>;
  using Clock = std::chrono::steady_clock;

  // Identifies one posted task; 0 is none.
  using TaskId = uint64_t;

  // `name` is the thread's name in the operating system, at most 15 characters.
  explicit EngineThread(const std::string& name);
  ~EngineThread();
  EngineThread(const EngineThread&) = delete;
  EngineThread& operator=(const EngineThread&) = delete;

  // Runs `task` after everything posted before it. After destruction has begun the task is dropped
  // and 0 returned.
  TaskId post(Task task) { return postAfter(Clock::duration::zero(), std::move(task)); }
  TaskId postAfter(Clock::duration delay, Task task);

  // Removes a task that has not begun. If called on the engine thread, the task is guaranteed not
  // to run; on another thread it may be running already.
  void cancel(TaskId id);

  // Runs `task` on the engine thread and blocks until it has returned; called on the engine thread,
  // runs it directly. After destruction has begun the task is dropped and false returned.
  bool run(const Task& task);

  bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

  // Ends the process on any other thread. What is guarded by an engine thread may be used from here
  // on, to the end of the function.
  void assertCurrent() const NIMBO_ASSERT_CAPABILITY(this);

 private:
  void loop();

  // Due time first, then posting order: equal times keep their order.
  using Key = std::pair<Clock::time_point, TaskId>;

  Mutex mutex_;
  ConditionVariable changed_;
  std::map<Key, Task> tasks_ NIMBO_GUARDED_BY(mutex_);
  TaskId lastId_ NIMBO_GUARDED_BY(mutex_) = 0;
  bool stopping_ NIMBO_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace NimboEngine

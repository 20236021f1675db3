// The engine's own thread: every request is done here, one after another, and every listener of
// the pusher but the frame listener is called from here, so events keep their order.
//
// Thread: post, postAfter, cancel, run and isCurrent may be called from any thread.
// Ownership: owns the thread. Destruction runs the tasks that are already due, drops delayed ones
//   and joins; it must not happen on the engine thread itself.
// Failure: the constructor throws std::system_error when no thread can be started. A task may throw
//   the same for the same reason, which is logged; it must not throw anything else.

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace NimboEngine {

class EngineThread {
 public:
  using Task = std::function<void()>;
  using Clock = std::chrono::steady_clock;

  // Names one posted task; 0 names none.
  using TaskId = uint64_t;

  // `name` is what the operating system shows, at most 15 characters.
  explicit EngineThread(const std::string& name);
  ~EngineThread();
  EngineThread(const EngineThread&) = delete;
  EngineThread& operator=(const EngineThread&) = delete;

  // Runs `task` after everything posted before it. A task posted after destruction began is
  // dropped; the result is then 0.
  TaskId post(Task task) { return postAfter(Clock::duration::zero(), std::move(task)); }
  TaskId postAfter(Clock::duration delay, Task task);

  // Takes back a task that has not begun. Called on the engine thread, it is certain that the task
  // will not run; called elsewhere, the task may be running.
  void cancel(TaskId id);

  // Runs `task` on the engine thread and waits until it has ended; at once when this is it.
  void run(const Task& task);

  bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

 private:
  void loop();

  // Due time first, then posting order: equal times keep their order.
  using Key = std::pair<Clock::time_point, TaskId>;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<Key, Task> tasks_;
  TaskId lastId_ = 0;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace NimboEngine

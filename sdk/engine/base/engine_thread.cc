#include "base/engine_thread.h"

#include <algorithm>
#include <cstdlib>
#include <future>
#include <system_error>

#include "base/log.h"
#include "platform/thread_name.h"

namespace NimboEngine {
namespace {

void attempt(const EngineThread::Task& task) {
  try {
    task();
  } catch (const std::system_error& error) {
    NIMBO_LOG_ERROR("a request could not be carried out: {}", error.what());
  }
}

}  // namespace

EngineThread::EngineThread(const std::string& name) : thread_([this] { loop(); }) {
  nameThread(thread_, name);
}

EngineThread::~EngineThread() {
  {
    const MutexLock lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

EngineThread::TaskId EngineThread::postAfter(Clock::duration delay, Task task) {
  TaskId id = 0;
  {
    const MutexLock lock(mutex_);
    if (stopping_) return 0;
    id = ++lastId_;
    tasks_.emplace(Key{Clock::now() + delay, id}, std::move(task));
  }
  changed_.notify_all();
  return id;
}

void EngineThread::cancel(TaskId id) {
  Task dropped;  // destroyed after the lock: its captures may post
  const MutexLock lock(mutex_);
  const auto found = std::find_if(tasks_.begin(), tasks_.end(),
                                  [id](const auto& t) { return t.first.second == id; });
  if (found == tasks_.end()) return;
  dropped = std::move(found->second);
  tasks_.erase(found);
}

bool EngineThread::run(const Task& task) {
  if (isCurrent()) {
    task();
    return true;
  }
  std::promise<void> done;
  const TaskId id = post([&] {
    attempt(task);
    done.set_value();
  });
  if (id == 0) return false;
  done.get_future().wait();
  return true;
}

void EngineThread::assertCurrent() const {
  if (isCurrent()) return;
  NIMBO_LOG_ERROR("called on a thread other than its engine thread");
  std::abort();
}

void EngineThread::loop() {
  MutexLock lock(mutex_);
  for (;;) {
    if (tasks_.empty()) {
      if (stopping_) return;
      changed_.wait(lock);
      continue;
    }
    const auto first = tasks_.begin();
    if (first->first.first > Clock::now()) {
      if (stopping_) return;
      changed_.wait_until(lock, first->first.first);
      continue;
    }
    Task task = std::move(first->second);
    tasks_.erase(first);
    lock.unlock();
    attempt(task);
    task = nullptr;
    lock.lock();
  }
}

}  // namespace NimboEngine

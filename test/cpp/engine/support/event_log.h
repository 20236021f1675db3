// A log of events in order, collected from any thread; a test waits for an event, never for a time.
//
// Thread: any.
// Failure: waitFor returns false after a deadline that only guards against hanging.

#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace NimboEngine::test {

class EventLog {
 public:
  void add(const std::string& event) {
    std::lock_guard lock(mutex_);
    events_.push_back(event);
    changed_.notify_all();
  }

  // Waits until `event` has happened `times` times.
  bool waitFor(const std::string& event, std::ptrdiff_t times = 1,
               std::chrono::seconds deadline = std::chrono::seconds(60)) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(
        lock, deadline, [&] { return std::count(events_.begin(), events_.end(), event) >= times; });
  }

  std::vector<std::string> all() const {
    std::lock_guard lock(mutex_);
    return events_;
  }

  void clear() {
    std::lock_guard lock(mutex_);
    events_.clear();
  }

  std::ptrdiff_t count(const std::string& event) const {
    const auto events = all();
    return std::count(events.begin(), events.end(), event);
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> events_;
};

}  // namespace NimboEngine::test

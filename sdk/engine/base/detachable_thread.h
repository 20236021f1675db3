// A thread for work that may hang in foreign code (a device's driver, a display server): joined if
// it ends within a timeout, else detached.
//
// Thread: created and destroyed on any other thread than its own.
// Ownership: destruction waits `endTimeout` at most and then detaches the thread. So `body` must
//   own or share all that it uses. The owner must signal it to end.
// Failure: if no thread can be started, `body` is dropped and an error is logged, as if it hung.
//   `body` must not throw.

#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>

namespace NimboEngine {

class DetachableThread {
 public:
  static constexpr std::chrono::milliseconds kTimeout{150};

  // `name` is the thread's name in the operating system, at most 15 characters.
  DetachableThread(std::string name, std::function<void()> body,
                   std::chrono::milliseconds endTimeout = kTimeout);
  ~DetachableThread();
  DetachableThread(const DetachableThread&) = delete;
  DetachableThread& operator=(const DetachableThread&) = delete;

  bool hasStarted() const { return thread_.joinable(); }

 private:
  const std::string name_;
  const std::chrono::milliseconds endTimeout_;
  std::future<void> ended_;
  std::thread thread_;
};

}  // namespace NimboEngine

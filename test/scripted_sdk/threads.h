// The names of threads in the records, and the named threads from which callbacks are fired.
//
// Thread: any.
// Ownership: native threads are made on demand and kept until the process ends.
// Failure: a job must not throw.

#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

// No wait for a thread outlasts this; reaching it means that something hangs.
constexpr std::chrono::seconds kHangGuard{60};

// The calling thread as {"index", "name", "js"}: its place in the order of first appearance, its
// name, and whether it is the thread that loaded the library, which in Node is JavaScript's.
Json currentThreadJson();

class NativeThread {
 public:
  explicit NativeThread(const std::string& name);
  NativeThread(const NativeThread&) = delete;
  NativeThread& operator=(const NativeThread&) = delete;
  ~NativeThread() = delete;  // lives as long as the process

  const std::string& name() const { return name_; }

  // Runs `job` after everything posted before it.
  void post(std::function<void()> job);

  // Waits at most kHangGuard until every posted job has returned; returns whether they have.
  bool settle();

  bool isCurrent() const;

 private:
  void run();

  const std::string name_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> jobs_;
  bool busy_ = false;
};

// The thread of that name, started when there is none yet.
NativeThread& nativeThread(const std::string& name);

// Waits until no native thread has work left. Throws std::runtime_error that names a thread which
// is still busy after kHangGuard.
void settleNativeThreads();

}  // namespace ScriptedSdk

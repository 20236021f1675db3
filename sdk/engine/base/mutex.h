// The standard library's mutexes, locks and condition variable annotated for clang's thread-safety
// analysis (see thread_annotations.h), without further behaviour.
//
// Thread: as the standard library's.

#pragma once

#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "base/thread_annotations.h"

namespace NimboEngine {

class NIMBO_CAPABILITY("mutex") Mutex {
 public:
  void lock() NIMBO_ACQUIRE() { mutex_.lock(); }
  void unlock() NIMBO_RELEASE() { mutex_.unlock(); }

 private:
  friend class MutexLock;
  std::mutex mutex_;
};

// Holds a mutex to the end of its scope.
class NIMBO_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) NIMBO_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~MutexLock() NIMBO_RELEASE() = default;
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void unlock() NIMBO_RELEASE() { lock_.unlock(); }
  void lock() NIMBO_ACQUIRE() { lock_.lock(); }

 private:
  friend class ConditionVariable;
  std::unique_lock<std::mutex> lock_;
};

// A mutex that several threads may hold at once, if each holds it shared.
class NIMBO_CAPABILITY("mutex") SharedMutex {
 private:
  friend class ExclusiveLock;
  friend class SharedLock;
  std::shared_mutex mutex_;
};

// Hold it to the end of their scope.
class NIMBO_SCOPED_CAPABILITY ExclusiveLock {
 public:
  explicit ExclusiveLock(SharedMutex& mutex) NIMBO_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~ExclusiveLock() NIMBO_RELEASE() = default;
  ExclusiveLock(const ExclusiveLock&) = delete;
  ExclusiveLock& operator=(const ExclusiveLock&) = delete;

 private:
  const std::lock_guard<std::shared_mutex> lock_;
};

class NIMBO_SCOPED_CAPABILITY SharedLock {
 public:
  explicit SharedLock(SharedMutex& mutex) NIMBO_ACQUIRE_SHARED(mutex) : lock_(mutex.mutex_) {}
  ~SharedLock() NIMBO_RELEASE() = default;
  SharedLock(const SharedLock&) = delete;
  SharedLock& operator=(const SharedLock&) = delete;

 private:
  const std::shared_lock<std::shared_mutex> lock_;
};

// The waiting functions take a MutexLock that holds the mutex. Conditions are called with the mutex
// held; one that reads guarded members needs the annotation: `[this]() NIMBO_REQUIRES(mutex_) { …
// }`.
class ConditionVariable {
 public:
  void notify_one() { condition_.notify_one(); }
  void notify_all() { condition_.notify_all(); }

  void wait(MutexLock& lock) { condition_.wait(lock.lock_); }
  template <class Condition>
  void wait(MutexLock& lock, Condition condition) NIMBO_NO_THREAD_SAFETY_ANALYSIS {
    condition_.wait(lock.lock_, std::move(condition));
  }
  template <class Duration>
  void wait_for(MutexLock& lock, const Duration& duration) {
    condition_.wait_for(lock.lock_, duration);
  }
  template <class Duration, class Condition>
  bool wait_for(MutexLock& lock, const Duration& duration,
                Condition condition) NIMBO_NO_THREAD_SAFETY_ANALYSIS {
    return condition_.wait_for(lock.lock_, duration, std::move(condition));
  }
  template <class Time>
  void wait_until(MutexLock& lock, const Time& time) {
    condition_.wait_until(lock.lock_, time);
  }
  template <class Time, class Condition>
  bool wait_until(MutexLock& lock, const Time& time,
                  Condition condition) NIMBO_NO_THREAD_SAFETY_ANALYSIS {
    return condition_.wait_until(lock.lock_, time, std::move(condition));
  }

 private:
  std::condition_variable condition_;
};

}  // namespace NimboEngine

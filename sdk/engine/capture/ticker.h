// A thread that calls a function at equal intervals of GStreamer's system clock.
//
// Thread: construction, setRate and destruction on any other thread than its own.
// Ownership: owns the thread. Destruction waits for a tick in progress.
// Failure: `tick` must not throw. A tick that takes too long delays the next ones; when more than
//   `catchUp` are overdue they are left out.

#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <functional>
#include <thread>

#include "base/mutex.h"
#include "capture/tick_schedule.h"

namespace NimboEngine {

class Ticker {
 public:
  // Called with the tick's number and its time on the clock (not the time of the call).
  using Tick = std::function<void(uint64_t number, GstClockTime time)>;

  // `name` is the thread's name in the operating system, at most 15 characters.
  Ticker(const char* name, uint32_t rate, uint64_t catchUp, Tick tick);
  ~Ticker();
  Ticker(const Ticker&) = delete;
  Ticker& operator=(const Ticker&) = delete;

  // Takes effect with the next due tick, which becomes number 0 of a new schedule.
  void setRate(uint32_t rate);

 private:
  void loop();

  const uint64_t catchUp_;
  const Tick tick_;
  Mutex mutex_;
  uint32_t rate_ NIMBO_GUARDED_BY(mutex_);
  ConditionVariable changed_;
  bool stopping_ NIMBO_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace NimboEngine

#include "capture/ticker.h"

#include <chrono>
#include <utility>

#include "gst/gst_ptr.h"
#include "platform/thread_name.h"

namespace NimboEngine {

Ticker::Ticker(const char* name, uint32_t rate, uint64_t catchUp, Tick tick)
    : catchUp_(catchUp), tick_(std::move(tick)), rate_(rate), thread_([this] { loop(); }) {
  nameThread(thread_, name);
}

Ticker::~Ticker() {
  {
    const MutexLock lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void Ticker::setRate(uint32_t rate) {
  {
    const MutexLock lock(mutex_);
    rate_ = rate;
  }
  changed_.notify_all();
}

void Ticker::loop() {
  const GstPtr<GstClock> clock(gst_system_clock_obtain());
  MutexLock lock(mutex_);
  uint32_t rate = rate_;
  TickSchedule schedule(gst_clock_get_time(clock.get()), rate);
  uint64_t next = 0;
  while (!stopping_) {
    if (rate != rate_) {
      rate = rate_;
      schedule = TickSchedule(schedule.time(next), rate);
      next = 0;
    }
    const GstClockTime now = gst_clock_get_time(clock.get());
    if (now < schedule.time(next)) {
      changed_.wait_for(lock, std::chrono::nanoseconds(schedule.time(next) - now));
      continue;
    }
    next = schedule.resume(next, now, catchUp_);
    lock.unlock();
    tick_(next, schedule.time(next));
    lock.lock();
    ++next;
  }
}

}  // namespace NimboEngine

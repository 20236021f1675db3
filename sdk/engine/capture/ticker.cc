#include "capture/ticker.h"

#include <pthread.h>

#include <chrono>
#include <utility>

#include "gst/gst_ptr.h"

namespace NimboEngine {

Ticker::Ticker(const char* name, uint32_t rate, uint64_t catchUp, Tick tick)
    : rate_(rate), catchUp_(catchUp), tick_(std::move(tick)), thread_([this] { loop(); }) {
  pthread_setname_np(thread_.native_handle(), name);
}

Ticker::~Ticker() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  stop_.notify_all();
  thread_.join();
}

void Ticker::loop() {
  const GstPtr<GstClock> clock(gst_system_clock_obtain());
  const TickGrid grid(gst_clock_get_time(clock.get()), rate_);
  uint64_t next = 0;
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    const GstClockTime now = gst_clock_get_time(clock.get());
    if (now < grid.time(next)) {
      stop_.wait_for(lock, std::chrono::nanoseconds(grid.time(next) - now));
      continue;
    }
    next = grid.resume(next, now, catchUp_);
    lock.unlock();
    tick_(next, grid.time(next));
    lock.lock();
    ++next;
  }
}

}  // namespace NimboEngine

// The schedule of a tick thread: tick n is due at start + n / rate seconds, computed from n each
// time, so that rounding errors do not accumulate.
//
// Thread: a plain value.

#pragma once

#include <cstdint>

namespace NimboEngine {

class TickSchedule {
 public:
  // `start` in nanoseconds, `rate` in ticks for each second, at least 1.
  TickSchedule(uint64_t start, uint32_t rate) : start_(start), rate_(rate) {}

  // Nanoseconds, rounded up: a clock that has reached time(n) has reached tick n.
  uint64_t time(uint64_t n) const {
    const uint64_t part = n % rate_ * kSecond;
    return start_ + n / rate_ * kSecond + (part + rate_ - 1) / rate_;
  }

  // The latest tick that is due at `now`, which must not be before the start.
  uint64_t latest(uint64_t now) const {
    const uint64_t passed = now - start_;
    return passed / kSecond * rate_ + passed % kSecond * rate_ / kSecond;
  }

  // Returns the tick to run at `now`, when `next` is due: `next`, unless more than `catchUp`
  // further ticks are due already; then the latest.
  uint64_t resume(uint64_t next, uint64_t now, uint64_t catchUp) const {
    const uint64_t due = latest(now);
    return due > next + catchUp ? due : next;
  }

 private:
  static constexpr uint64_t kSecond = 1'000'000'000;

  uint64_t start_;
  uint64_t rate_;
};

}  // namespace NimboEngine

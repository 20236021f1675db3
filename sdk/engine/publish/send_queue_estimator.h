// Turns the bytes that wait in a connection into the playing time that they make up, which is what
// a viewer feels and what stays comparable when the bit rate changes.
//
// Thread: one at a time; the caller locks.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>

namespace NimboEngine {

class SendQueueEstimator {
 public:
  // `bytes` with the time stamp `milliseconds` (which may wrap) were handed over.
  void add(std::size_t bytes, uint32_t milliseconds);

  // From the oldest to the newest media among the last `bytes` that were handed over.
  std::chrono::milliseconds playingTime(std::size_t bytes);

 private:
  struct Entry {
    uint64_t end;  // bytes handed over up to and with this one
    uint32_t time;
  };

  std::deque<Entry> entries_;  // those that may wait, oldest first
  uint64_t total_ = 0;
};

}  // namespace NimboEngine

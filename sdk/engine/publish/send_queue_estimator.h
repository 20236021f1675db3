// Converts the queued bytes of a connection into playing time, which is the delay that a viewer
// gets and which stays comparable when the bit rate changes.
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
  // Adds `bytes` with the time stamp `milliseconds` (which may wrap) to the queue.
  void add(std::size_t bytes, uint32_t milliseconds);

  // Returns the time from the oldest to the newest media among the last `bytes` that were added.
  std::chrono::milliseconds playingTime(std::size_t bytes);

 private:
  struct Entry {
    uint64_t end;  // bytes added up to and including this one
    uint32_t time;
  };

  std::deque<Entry> entries_;  // possibly still queued, oldest first
  uint64_t total_ = 0;
};

}  // namespace NimboEngine

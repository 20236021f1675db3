// The last second of one stream's audio, by presentation time.
//
// Thread: any.
// Ownership: copies samples in and out.
// Failure: none; missing samples read as silence.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/mutex.h"
#include "media/media.h"

namespace NimboEngine {

class AudioTimeline {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // Stores interleaved samples in the format kPlayedAudio, presented from `moment` on. Moments
  // ascend.
  void put(std::span<const int16_t> samples, Time moment);

  // Fills `out` with the audio presented from `moment` on.
  void read(Time moment, std::span<int16_t> out) const;

  void clear();

 private:
  mutable Mutex mutex_;
  std::vector<int16_t> ring_ NIMBO_GUARDED_BY(mutex_);
  int64_t end_ NIMBO_GUARDED_BY(mutex_) =
      0;  // the frame number behind the last one, counted from the clock's origin
  int64_t held_ NIMBO_GUARDED_BY(mutex_) = 0;  // frames before `end_` that are stored
};

}  // namespace NimboEngine

// The audio FIFO between one source and the audio tick: the source pushes samples when it has some,
// the tick pulls a fixed number each time and always gets them.
//
// After an underrun, and at first, it delivers silence until the prebuffer is filled, so that an
// irregular source causes one gap and not one in every tick. A source that is faster than the
// tick's clock fills it up; past the limit the oldest samples are dropped, down to the prebuffer:
// an occasional jump is less audible than a lasting delay with a jump in every push.
//
// Thread: any; push and pull may run concurrently.
// Ownership: copies samples in and out.
// Failure: none; missing samples are silence.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/mutex.h"

namespace NimboEngine {

class SampleFifo {
 public:
  // `prebuffer` and `limit` count frames (one sample for each channel).
  SampleFifo(size_t channels, size_t prebuffer, size_t limit);

  // Appends `frames` interleaved frames.
  void push(const int16_t* samples, size_t frames);

  // Fills `out` with `frames` frames. Returns how many of them are from the source; the rest, after
  // them, is silence.
  size_t pull(int16_t* out, size_t frames);

  // Returns whether the next pull() delivers samples of the source.
  bool isReady() const;

  // The number of frames pushed so far.
  uint64_t count() const;

  // Returns to the initial state.
  void clear();

 private:
  const size_t channels_;
  const size_t prebuffer_;
  const size_t limit_;
  mutable Mutex mutex_;
  std::vector<int16_t> samples_ NIMBO_GUARDED_BY(mutex_);
  uint64_t count_ NIMBO_GUARDED_BY(mutex_) = 0;
  bool filling_ NIMBO_GUARDED_BY(mutex_) = true;
};

}  // namespace NimboEngine

// The sound of one source on its way to the audio tick: the source pushes when it has samples, the
// tick takes a fixed number each time and always gets them.
//
// After running dry, and at first, it gives silence until a cushion has gathered, so that a source
// with an uneven pace costs one gap and not one in every tick. A source that is faster than the
// tick's clock fills it up; past the limit the oldest samples go, down to the cushion: one jump now
// and then is less to hear than a lasting delay with a jump in every push.
//
// Thread: any; push and pull may run side by side.
// Ownership: copies samples in and out.
// Failure: none; what is missing is silence.

#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace NimboEngine {

class SampleFifo {
 public:
  // `prebuffer` and `limit` count frames (one sample for each channel).
  SampleFifo(size_t channels, size_t prebuffer, size_t limit);

  // Appends `frames` interleaved frames.
  void push(const int16_t* samples, size_t frames);

  // Fills `out` with `frames` frames. Returns how many of them came from the source; the others
  // stand after them and are silent.
  size_t pull(int16_t* out, size_t frames);

  // Whether the next pull() gives sound.
  bool isReady() const;

  // How many frames came.
  uint64_t count() const;

  // As at first.
  void clear();

 private:
  const size_t channels_;
  const size_t prebuffer_;
  const size_t limit_;
  mutable std::mutex mutex_;
  std::vector<int16_t> samples_;
  uint64_t count_ = 0;
  bool filling_ = true;
};

}  // namespace NimboEngine

// Scales decoded audio by a volume in percent.
//
// Thread: apply() on one thread; set() on any.
// Failure: none.

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace NimboEngine {

class AudioGain {
 public:
  // Percent of the original volume; 100 leaves the samples as they are.
  void set(unsigned int percent) { percent_ = percent; }

  // Scales the samples in place and clips them to the range of 16 bits.
  void apply(int16_t* samples, std::size_t count);

 private:
  std::atomic<unsigned int> percent_{100};
};

}  // namespace NimboEngine

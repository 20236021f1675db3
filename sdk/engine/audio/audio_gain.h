// Changes the loudness of decoded sound.
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
  // Percent of the sound's own loudness; 100 is neutral.
  void set(unsigned int percent) { percent_ = percent; }

  // Changes the samples; what would be too loud is cut.
  void apply(int16_t* samples, std::size_t count);

 private:
  std::atomic<unsigned int> percent_{100};
};

}  // namespace NimboEngine

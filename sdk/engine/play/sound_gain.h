// The loudness of decoded sound: changes it, and measures it for whoever wants to show it.
//
// Thread: apply() on one thread; the others from any.
// Failure: none.

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace NimboEngine {

class SoundGain {
 public:
  // Percent of the sound's own loudness; 100 is neutral.
  void set(unsigned int percent) { percent_ = percent; }

  // Changes the samples; what would be too loud is cut.
  void apply(int16_t* samples, std::size_t count);

  // The highest peak since the last call, 0 (silent) to 255 (full scale).
  int takePeak();

 private:
  std::atomic<unsigned int> percent_{100};
  std::atomic<int> peak_{0};
};

}  // namespace NimboEngine

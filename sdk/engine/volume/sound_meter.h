// Measures one user's sound on its way: how loud it was, and whether somebody spoke.
//
// Thread: measure() on one thread; the others from any.
// Failure: none.

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "capture/frame_consumer.h"
#include "volume/voice_detector.h"

namespace NimboEngine {

struct SoundReading {
  double peak = 0;  // 0 (silent) to 1 (full scale)
  bool voice = false;
};

class SoundMeter {
 public:
  // Takes `count` interleaved samples.
  void measure(const int16_t* samples, std::size_t count, const AudioFormat& format);

  // Finding voice costs more than measuring, so it is done on demand. Off at first.
  void listenForVoice(bool on) { listens_ = on; }

  // The highest peak, and whether there was voice, since the last call.
  SoundReading take();

 private:
  std::atomic<int> peak_{0};
  std::atomic<bool> voice_{false};
  std::atomic<bool> listens_{false};
  std::unique_ptr<VoiceDetector> detector_;  // of measure() only
};

}  // namespace NimboEngine

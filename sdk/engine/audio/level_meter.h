// Measures one user's audio as it passes: its peak level, and whether it contained voice.
//
// Thread: measure() on one thread, take() and discard() on one other; listenForVoice() on any. The
//   time is passed in.
// Failure: none.

#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "audio/voice_detector.h"
#include "media/frame_consumer.h"

namespace NimboEngine {

struct LevelReading {
  double peak = 0;  // 0 (silent) to 1 (full scale)
  bool voice = false;
};

class LevelMeter {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // Takes `count` interleaved samples.
  void measure(const int16_t* samples, std::size_t count, const AudioFormat& format);

  // Voice detection costs more than measuring levels, so it runs on demand. Off at first.
  void listenForVoice(bool on) { listens_ = on; }

  // Returns the highest peak, and whether there was voice, since the last call. Audio arrives in
  // chunks: if none has arrived since, the peak of a recent one still counts.
  LevelReading take(Time now);

  // Discards everything measured so far.
  void discard();

 private:
  static constexpr int kNothing = -1;

  std::atomic<int> peak_{kNothing};
  std::atomic<bool> voice_{false};
  std::atomic<bool> listens_{false};
  std::unique_ptr<VoiceDetector> detector_;  // of measure() only
  // Of take() only.
  int last_ = 0;
  Time lastVoice_;
};

}  // namespace NimboEngine

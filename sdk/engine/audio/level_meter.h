// Measures one user's sound on its way: how loud it was, and whether somebody spoke.
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

  // Finding voice costs more than measuring, so it is done on demand. Off at first.
  void listenForVoice(bool on) { listens_ = on; }

  // The highest peak, and whether there was voice, since the last call. Sound comes in pieces:
  // where none has come since, what was heard a moment ago still counts as the peak.
  LevelReading take(Time now);

  // Forgets what was heard so far.
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

#include "audio/level_meter.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace NimboEngine {

void LevelMeter::measure(const int16_t* samples, std::size_t count, const AudioFormat& format) {
  int peak = 0;
  for (std::size_t i = 0; i < count; ++i) peak = std::max(peak, std::abs(int{samples[i]}));
  int before = peak_;
  while (before < peak && !peak_.compare_exchange_weak(before, peak)) {
  }
  if (!listens_) return detector_.reset();
  if (!detector_ || detector_->format() != format) {
    detector_ = std::make_unique<VoiceDetector>(format);
  }
  if (detector_->process(samples, count)) voice_ = true;
}

LevelReading LevelMeter::take(Time now) {
  using namespace std::chrono_literals;
  constexpr auto kMoment = 100ms;  // longer than an audio chunk of any codec
  constexpr int kFullScale = std::numeric_limits<int16_t>::max();
  const int peak = peak_.exchange(kNothing);
  if (peak != kNothing) {
    last_ = std::min(peak, kFullScale);
    lastVoice_ = now;
  } else if (now - lastVoice_ >= kMoment) {
    last_ = 0;
  }
  return {static_cast<double>(last_) / kFullScale, voice_.exchange(false)};
}

void LevelMeter::discard() {
  peak_ = kNothing;
  voice_ = false;
  last_ = 0;
}

}  // namespace NimboEngine

#include "play/sound_gain.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace NimboEngine {
namespace {

constexpr int kNeutral = 100;
constexpr int kFullScale = std::numeric_limits<int16_t>::max();

int16_t scaled(int16_t sample, int percent) {
  using Limits = std::numeric_limits<int16_t>;
  return static_cast<int16_t>(
      std::clamp<int>(sample * percent / kNeutral, Limits::min(), Limits::max()));
}

}  // namespace

void SoundGain::apply(int16_t* samples, std::size_t count) {
  const int percent = static_cast<int>(percent_.load());
  int peak = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (percent != kNeutral) samples[i] = scaled(samples[i], percent);
    peak = std::max(peak, std::abs(int{samples[i]}));
  }
  int before = peak_;
  while (before < peak && !peak_.compare_exchange_weak(before, peak)) {
  }
}

int SoundGain::takePeak() {
  return std::min(peak_.exchange(0), kFullScale) * 255 / kFullScale;
}

}  // namespace NimboEngine

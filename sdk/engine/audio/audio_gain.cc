#include "audio/audio_gain.h"

#include <algorithm>
#include <limits>

namespace NimboEngine {
namespace {

constexpr int kNeutral = 100;

int16_t scaled(int16_t sample, int percent) {
  using Limits = std::numeric_limits<int16_t>;
  return static_cast<int16_t>(
      std::clamp<int>(sample * percent / kNeutral, Limits::min(), Limits::max()));
}

}  // namespace

void AudioGain::apply(int16_t* samples, std::size_t count) {
  const int percent = static_cast<int>(percent_.load());
  if (percent == kNeutral) return;
  for (std::size_t i = 0; i < count; ++i) samples[i] = scaled(samples[i], percent);
}

}  // namespace NimboEngine

#include "support/test_audio.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <numbers>
#include <random>

namespace NimboEngine::test {
namespace {

constexpr double kFullCircle = 2 * std::numbers::pi;

// Computes all samples and scales them so that the highest has `level`.
Samples rendered(int rate, double seconds, double level, const std::function<double(double)>& at) {
  std::vector<double> samples(static_cast<std::size_t>(rate * seconds));
  double peak = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = at(static_cast<double>(i) / rate);
    peak = std::max(peak, std::abs(samples[i]));
  }
  Samples mono;
  for (const double sample : samples) {
    mono.push_back(static_cast<int16_t>(std::lround(sample / peak * level * 32767)));
  }
  return mono;
}

}  // namespace

Samples tone(int rate, double seconds, double frequency, double level) {
  return rendered(rate, seconds, level,
                  [=](double time) { return std::sin(kFullCircle * frequency * time); });
}

Samples noise(int rate, double seconds, double level, double colour) {
  std::minstd_rand random(1);
  std::uniform_real_distribution<double> range(-1, 1);
  double last = 0;
  return rendered(rate, seconds, level,
                  [&](double) { return last = colour * last + (1 - colour) * range(random); });
}

Samples speech(int rate, double seconds, double level) {
  constexpr double kFormants[][2] = {{700, 1200}, {300, 2200}, {400, 800}, {500, 1800}};
  double phase = 0;
  return rendered(rate, seconds, level, [&](double time) {
    const double syllable = time * 4;
    const double envelope =
        std::max(0.0, std::sin(std::numbers::pi * std::fmod(syllable, 1)) - 0.2);
    const auto& formants = kFormants[static_cast<std::size_t>(syllable) % std::size(kFormants)];
    const double pitch = 120 + 20 * std::sin(kFullCircle * 0.7 * time);
    phase += pitch / rate;
    double sum = 0;
    for (int harmonic = 1; harmonic * pitch < std::min(rate / 2, 4000); ++harmonic) {
      double strength = 0.02;
      for (const double formant : formants) {
        const double away = (harmonic * pitch - formant) / 120;
        strength += 1 / (1 + away * away);
      }
      sum += strength * std::sin(kFullCircle * harmonic * phase);
    }
    return envelope * sum;
  });
}

Samples joined(Samples first, const Samples& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Samples inChannels(const Samples& mono, int channels) {
  Samples result;
  for (const int16_t sample : mono) {
    result.insert(result.end(), static_cast<std::size_t>(channels), sample);
  }
  return result;
}

}  // namespace NimboEngine::test

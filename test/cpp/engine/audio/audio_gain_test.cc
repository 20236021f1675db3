#include "audio/audio_gain.h"

#include <gtest/gtest.h>

#include <vector>

namespace NimboEngine {
namespace {

using Samples = std::vector<int16_t>;

Samples at(unsigned int percent, Samples samples) {
  AudioGain gain;
  gain.set(percent);
  gain.apply(samples.data(), samples.size());
  return samples;
}

TEST(AudioGain, ScalesAndClips) {
  const Samples samples{0, 1000, -1000, 20000, -20000, 32767, -32768};
  EXPECT_EQ(at(100, samples), samples);
  EXPECT_EQ(at(0, samples), Samples(7, 0));
  EXPECT_EQ(at(50, samples), (Samples{0, 500, -500, 10000, -10000, 16383, -16384}));
  EXPECT_EQ(at(400, samples), (Samples{0, 4000, -4000, 32767, -32768, 32767, -32768}));
}

}  // namespace
}  // namespace NimboEngine

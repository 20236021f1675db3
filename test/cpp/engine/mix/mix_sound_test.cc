#include "mix/mix_sound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

using Samples = std::vector<int16_t>;
using Stream = std::shared_ptr<RemoteStream>;

constexpr AudioFormat kStereo{48000, 2};
constexpr size_t kChunk = 960;  // frames

// 200 ms of one value: enough to be heard.
void feed(RemoteStream& stream, int16_t value, size_t frames = 9600) {
  const Samples samples(frames * 2, value);
  stream.putSound(samples.data(), samples.size());
}

class MixSoundTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  // One chunk of `local` with the streams added.
  Samples mixed(const std::vector<Stream>& streams, int16_t local = 0) {
    Samples samples(kChunk * 2, local);
    mix.add(streams, kStereo, samples.data(), kChunk);
    return samples;
  }

  const Stream one = std::make_shared<RemoteStream>();
  const Stream two = std::make_shared<RemoteStream>();
  MixSound mix;
};

TEST_F(MixSoundTest, AddsUpAndCuts) {
  mixed({one, two});  // they are heard from now on
  feed(*one, 20000);
  feed(*two, -300);
  EXPECT_EQ(mixed({one, two}, 1000), Samples(kChunk * 2, 20700));
  EXPECT_EQ(mixed({one, two}, 13000), Samples(kChunk * 2, 32700))
      << "the sum is cut, no part of it";
  EXPECT_EQ(mixed({one, two}, 20000), Samples(kChunk * 2, 32767));
  EXPECT_EQ(mixed({two}, -32700), Samples(kChunk * 2, -32768));
}

TEST_F(MixSoundTest, SilenceAddsNothing) {
  EXPECT_EQ(mixed({one, two}, 77), Samples(kChunk * 2, 77));
  EXPECT_EQ(mixed({}, 77), Samples(kChunk * 2, 77));
}

TEST_F(MixSoundTest, WhatPlayedBeforeIsNotHeard) {
  feed(*one, 500);
  EXPECT_EQ(mixed({one}), Samples(kChunk * 2, 0));
  feed(*one, 600);
  EXPECT_EQ(mixed({one}), Samples(kChunk * 2, 600));
}

TEST_F(MixSoundTest, AStreamThatIsNamedTwiceIsHeardOnce) {
  mixed({one, one});
  feed(*one, 500);
  EXPECT_EQ(mixed({one, one}), Samples(kChunk * 2, 500));
}

TEST_F(MixSoundTest, StreamsThatStayAreHeardOnWhenOthersComeAndGo) {
  mixed({one});
  feed(*one, 500);
  EXPECT_EQ(mixed({two, one}), Samples(kChunk * 2, 500));
  EXPECT_EQ(mixed({one}), Samples(kChunk * 2, 500));
}

// How often a tone swings through zero upwards.
int swings(const Samples& samples) {
  int count = 0;
  for (size_t i = 1; i < samples.size(); ++i) count += samples[i - 1] < 0 && samples[i] >= 0;
  return count;
}

TEST_F(MixSoundTest, AToneKeepsItsPitchInEveryFormat) {
  for (const AudioFormat format : {AudioFormat{44100, 1}, {8000, 1}, {48000, 1}, {96000, 2}}) {
    MixSound mixer;
    const auto channels = static_cast<size_t>(format.channels);
    const size_t chunk = static_cast<size_t>(format.rate) / 50;
    Samples heard;
    double phase = 0;
    for (int tick = 0; tick < 100; ++tick) {
      Samples tone;
      for (size_t i = 0; i < kChunk; ++i, phase += 2 * M_PI * 400 / 48000) {
        tone.insert(tone.end(), 2, static_cast<int16_t>(std::lround(8000 * std::sin(phase))));
      }
      one->putSound(tone.data(), tone.size());
      Samples samples(chunk * channels);
      mixer.add({one}, format, samples.data(), chunk);
      for (size_t i = 0; i < samples.size(); i += channels) heard.push_back(samples[i]);
    }
    // The last second of the two has neither beginning nor gap.
    const Samples last(heard.end() - format.rate, heard.end());
    EXPECT_NEAR(swings(last), 400, 1) << format.rate;
    EXPECT_NEAR(*std::max_element(last.begin(), last.end()), 8000, 300) << format.rate;
    one->clear();
  }
}

}  // namespace
}  // namespace NimboEngine

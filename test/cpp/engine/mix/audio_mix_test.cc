#include "mix/audio_mix.h"

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

constexpr AudioTimeline::Time kStart{std::chrono::hours(1)};
constexpr std::chrono::milliseconds kChunkTime{20};

class AudioMixTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  // One second of one value, from the next chunk on.
  void feed(RemoteStream& stream, int16_t value) const {
    Samples samples(48000 * 2, value);
    stream.putAudio({samples, moment});
  }

  // One chunk of `local` with the streams added.
  Samples mixed(const std::vector<Stream>& streams, int16_t local = 0) {
    Samples samples(kChunk * 2, local);
    mix.add(streams, kStereo, moment, samples.data(), kChunk);
    moment += kChunkTime;
    return samples;
  }

  AudioTimeline::Time moment = kStart;

  const Stream one = std::make_shared<RemoteStream>();
  const Stream two = std::make_shared<RemoteStream>();
  AudioMix mix;
};

TEST_F(AudioMixTest, AddsUpAndClips) {
  feed(*one, 20000);
  feed(*two, -300);
  EXPECT_EQ(mixed({one, two}, 1000), Samples(kChunk * 2, 20700));
  EXPECT_EQ(mixed({one, two}, 13000), Samples(kChunk * 2, 32700))
      << "the sum is cut, no part of it";
  EXPECT_EQ(mixed({one, two}, 20000), Samples(kChunk * 2, 32767));
  EXPECT_EQ(mixed({two}, -32700), Samples(kChunk * 2, -32768));
}

TEST_F(AudioMixTest, SilenceAddsNothing) {
  EXPECT_EQ(mixed({one, two}, 77), Samples(kChunk * 2, 77));
  EXPECT_EQ(mixed({}, 77), Samples(kChunk * 2, 77));
}

TEST_F(AudioMixTest, AStreamThatEndsIsSilentFromThereOn) {
  feed(*one, 500);
  moment += std::chrono::milliseconds(990);
  const Samples end = mixed({one});
  EXPECT_EQ(end.front(), 500);
  EXPECT_EQ(end.back(), 0) << "the second ends in the middle of the chunk";
}

TEST_F(AudioMixTest, AChunkContainsTheAudioOfItsTime) {
  Samples steps;
  for (int i = 0; i < 50; ++i) steps.insert(steps.end(), kChunk * 2, static_cast<int16_t>(i));
  one->putAudio({steps, kStart});
  moment = kStart + 7 * kChunkTime;
  EXPECT_EQ(mixed({one}), Samples(kChunk * 2, 7));
  EXPECT_EQ(mixed({one}), Samples(kChunk * 2, 8));
  moment = kStart + 30 * kChunkTime;
  EXPECT_EQ(mixed({one}), Samples(kChunk * 2, 30))
      << "chunks that were left out are not made up for";
}

TEST_F(AudioMixTest, AStreamThatIsNamedTwiceIsMixedOnce) {
  feed(*one, 500);
  EXPECT_EQ(mixed({one, one}), Samples(kChunk * 2, 500));
}

TEST_F(AudioMixTest, StreamsContinueWhenOthersComeAndGo) {
  feed(*one, 500);
  EXPECT_EQ(mixed({one}), Samples(kChunk * 2, 500));
  EXPECT_EQ(mixed({two, one}), Samples(kChunk * 2, 500));
  EXPECT_EQ(mixed({one}), Samples(kChunk * 2, 500));
}

// Counts the upward zero crossings of a tone.
int swings(const Samples& samples) {
  int count = 0;
  for (size_t i = 1; i < samples.size(); ++i) count += samples[i - 1] < 0 && samples[i] >= 0;
  return count;
}

TEST_F(AudioMixTest, AToneKeepsItsPitchInEveryFormat) {
  for (const AudioFormat format : {AudioFormat{44100, 1}, {8000, 1}, {48000, 1}, {96000, 2}}) {
    AudioMix mixer;
    const auto channels = static_cast<size_t>(format.channels);
    const size_t chunk = static_cast<size_t>(format.rate) / 50;
    Samples output;
    double phase = 0;
    for (int tick = 0; tick < 100; ++tick) {
      Samples tone;
      for (size_t i = 0; i < kChunk; ++i, phase += 2 * M_PI * 400 / 48000) {
        tone.insert(tone.end(), 2, static_cast<int16_t>(std::lround(8000 * std::sin(phase))));
      }
      const AudioTimeline::Time now = kStart + tick * kChunkTime;
      one->putAudio({tone, now});
      Samples samples(chunk * channels);
      // The converter reads ahead by the few samples that it buffers.
      mixer.add({one}, format, now - kChunkTime, samples.data(), chunk);
      for (size_t i = 0; i < samples.size(); i += channels) output.push_back(samples[i]);
    }
    // The last second of the two has neither beginning nor gap.
    const Samples last(output.end() - format.rate, output.end());
    EXPECT_NEAR(swings(last), 400, 1) << format.rate;
    EXPECT_NEAR(*std::max_element(last.begin(), last.end()), 8000, 300) << format.rate;
    one->clear();
  }
}

}  // namespace
}  // namespace NimboEngine

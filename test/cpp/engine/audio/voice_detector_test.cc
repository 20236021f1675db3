#include "audio/voice_detector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>

#include "support/test_audio.h"

namespace NimboEngine {
namespace {

using test::Samples;

// Returns for each chunk of 20 ms whether there was voice.
std::vector<bool> detected(const Samples& samples, AudioFormat format = {48000, 1}) {
  VoiceDetector detector(format);
  const Samples all = test::inChannels(samples, format.channels);
  const auto piece = static_cast<std::size_t>(format.rate / 50 * format.channels);
  std::vector<bool> spoke;
  for (std::span<const int16_t> rest = all; rest.size() >= piece; rest = rest.subspan(piece)) {
    spoke.push_back(detector.process(rest.data(), piece));
  }
  return spoke;
}

double shareOfVoice(const std::vector<bool>& spoke) {
  return static_cast<double>(std::count(spoke.begin(), spoke.end(), true)) /
         static_cast<double>(spoke.size());
}

TEST(VoiceDetector, DetectsSpeechAtEveryRateAndLoudness) {
  for (const int rate : {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000}) {
    for (const int channels : {1, 2}) {
      const Samples speech = test::speech(rate, 3, 0.3);
      EXPECT_GT(shareOfVoice(detected(speech, {rate, channels})), 0.8) << rate << ", " << channels;
    }
  }
  for (const double level : {0.03, 0.1, 1.0}) {
    EXPECT_GT(shareOfVoice(detected(test::speech(48000, 3, level))), 0.7) << level;
  }
}

TEST(VoiceDetector, SilenceAndNoiseAreNoVoice) {
  EXPECT_EQ(shareOfVoice(detected(Samples(5 * 48000, 0))), 0);
  for (const double level : {0.003, 0.03}) {
    for (const double colour : {0.0, 0.9, 0.99}) {
      EXPECT_EQ(shareOfVoice(detected(test::noise(48000, 5, level, colour))), 0)
          << level << ", " << colour;
    }
  }
  EXPECT_EQ(shareOfVoice(detected(test::noise(48000, 5, 0.3))), 0) << "loud and white";
}

TEST(VoiceDetector, ToneIsNoVoiceOnceItIsKnownToBeSteady) {
  for (const double level : {0.03, 0.3}) {
    for (const double frequency : {50, 440, 1000, 3000}) {
      std::vector<bool> spoke = detected(test::tone(48000, 5, frequency, level));
      spoke.erase(spoke.begin(), spoke.begin() + 50);
      EXPECT_EQ(shareOfVoice(spoke), 0) << level << ", " << frequency;
    }
  }
}

TEST(VoiceDetector, FollowsBeginningAndEnd) {
  const Samples quiet = test::noise(48000, 2, 0.003);
  const std::vector<bool> spoke =
      detected(test::joined(test::joined(quiet, test::speech(48000, 2, 0.3)), quiet));
  const auto first = std::find(spoke.begin(), spoke.end(), true) - spoke.begin();
  const auto last = spoke.rend() - std::find(spoke.rbegin(), spoke.rend(), true);
  EXPECT_NEAR(static_cast<double>(first) / 50, 2.2, 0.2);
  EXPECT_NEAR(static_cast<double>(last) / 50, 4.3, 0.2);
}

TEST(VoiceDetector, ChunkLengthsDoNotMatter) {
  const Samples samples = test::speech(48000, 1, 0.3);
  VoiceDetector whole({48000, 1});
  VoiceDetector inBits({48000, 1});
  EXPECT_TRUE(whole.process(samples.data(), samples.size()));
  bool spoke = false;
  for (const int16_t& sample : samples) spoke = inBits.process(&sample, 1) || spoke;
  EXPECT_TRUE(spoke);
}

}  // namespace
}  // namespace NimboEngine

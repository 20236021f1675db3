#include "volume/sound_meter.h"

#include <gtest/gtest.h>

#include "support/test_sounds.h"

namespace NimboEngine {
namespace {

using test::Sound;

constexpr AudioFormat kMono{48000, 1};

void measure(SoundMeter& meter, const Sound& sound, const AudioFormat& format = kMono) {
  meter.measure(sound.data(), sound.size(), format);
}

TEST(SoundMeter, TellsTheHighestPeakOnce) {
  SoundMeter meter;
  EXPECT_EQ(meter.take().peak, 0);
  measure(meter, {0, -16384});
  measure(meter, {100, 100});
  EXPECT_NEAR(meter.take().peak, 0.5, 0.001);
  EXPECT_EQ(meter.take().peak, 0);
  measure(meter, {-32768});
  EXPECT_EQ(meter.take().peak, 1);
}

TEST(SoundMeter, ListensForVoiceWhenItIsTold) {
  SoundMeter meter;
  const Sound speech = test::speech(48000, 1, 0.3);
  measure(meter, speech);
  EXPECT_FALSE(meter.take().voice);
  meter.listenForVoice(true);
  measure(meter, speech);
  EXPECT_TRUE(meter.take().voice);
  EXPECT_FALSE(meter.take().voice) << "nothing has come since";
  meter.listenForVoice(false);
  measure(meter, speech);
  EXPECT_FALSE(meter.take().voice);
}

TEST(SoundMeter, TakesSoundOfAnotherShape) {
  SoundMeter meter;
  meter.listenForVoice(true);
  measure(meter, Sound(48000, 0));
  EXPECT_FALSE(meter.take().voice);
  measure(meter, test::inChannels(test::speech(16000, 1, 0.3), 2), {16000, 2});
  EXPECT_TRUE(meter.take().voice);
}

}  // namespace
}  // namespace NimboEngine

#include "audio/level_meter.h"

#include <gtest/gtest.h>

#include "support/test_audio.h"

namespace NimboEngine {
namespace {

using test::Samples;

using namespace std::chrono_literals;

constexpr AudioFormat kMono{48000, 1};
constexpr LevelMeter::Time kNow{1h};

void measure(LevelMeter& meter, const Samples& samples, const AudioFormat& format = kMono) {
  meter.measure(samples.data(), samples.size(), format);
}

TEST(LevelMeter, ReportsTheHighestPeakSinceTheLastRead) {
  LevelMeter meter;
  EXPECT_EQ(meter.take(kNow).peak, 0);
  measure(meter, {0, -16384});
  measure(meter, {100, 100});
  EXPECT_NEAR(meter.take(kNow).peak, 0.5, 0.001);
  measure(meter, {0, 0});
  EXPECT_EQ(meter.take(kNow).peak, 0);
  measure(meter, {-32768});
  EXPECT_EQ(meter.take(kNow).peak, 1);
}

TEST(LevelMeter, HoldsThePeakBrieflyWithoutNewAudio) {
  LevelMeter meter;
  measure(meter, {-32768});
  EXPECT_EQ(meter.take(kNow).peak, 1);
  EXPECT_EQ(meter.take(kNow + 99ms).peak, 1);
  EXPECT_EQ(meter.take(kNow + 100ms).peak, 0);
  EXPECT_EQ(meter.take(kNow + 101ms).peak, 0);
}

TEST(LevelMeter, DiscardsMeasuredLevels) {
  LevelMeter meter;
  measure(meter, {-32768});
  meter.discard();
  EXPECT_EQ(meter.take(kNow).peak, 0);
  measure(meter, {-32768});
  meter.take(kNow);
  meter.discard();
  EXPECT_EQ(meter.take(kNow).peak, 0);
}

TEST(LevelMeter, DetectsVoiceOnlyWhenEnabled) {
  LevelMeter meter;
  const Samples speech = test::speech(48000, 1, 0.3);
  measure(meter, speech);
  EXPECT_FALSE(meter.take(kNow).voice);
  meter.listenForVoice(true);
  measure(meter, speech);
  EXPECT_TRUE(meter.take(kNow).voice);
  EXPECT_FALSE(meter.take(kNow).voice) << "nothing has come since";
  meter.listenForVoice(false);
  measure(meter, speech);
  EXPECT_FALSE(meter.take(kNow).voice);
}

TEST(LevelMeter, AcceptsAudioOfAnotherFormat) {
  LevelMeter meter;
  meter.listenForVoice(true);
  measure(meter, Samples(48000, 0));
  EXPECT_FALSE(meter.take(kNow).voice);
  measure(meter, test::inChannels(test::speech(16000, 1, 0.3), 2), {16000, 2});
  EXPECT_TRUE(meter.take(kNow).voice);
}

}  // namespace
}  // namespace NimboEngine

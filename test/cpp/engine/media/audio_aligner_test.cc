#include "media/audio_aligner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using Time = AudioAligner::Time;
using Duration = AudioAligner::Duration;
using Samples = std::vector<int16_t>;

constexpr Time kStart{1h};
constexpr int kPieceFrames = 1024;
constexpr double kToneHz = 440;

class AudioAlignerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  // The next chunk of a tone, to be presented from `moment` on.
  AudioAligner::Piece put(Time moment) {
    Samples samples;
    for (int i = 0; i < kPieceFrames; ++i, ++frame) {
      const double phase = 2 * M_PI * kToneHz * frame / kPlayedAudio.rate;
      samples.insert(samples.end(), 2, static_cast<int16_t>(std::lround(10000 * std::sin(phase))));
    }
    const auto piece = aligner.align(samples, moment);
    output.insert(output.end(), piece.samples.begin(), piece.samples.end());
    return piece;
  }

  static Duration lengthOf(std::size_t samples) {
    return Duration(static_cast<int64_t>(samples / 2) * 1'000'000'000 / kPlayedAudio.rate);
  }

  // The largest step between two samples of one channel: a click has a large one.
  int largestStep(std::size_t from = 2) const {
    int largest = 0;
    for (std::size_t i = from; i < output.size(); ++i) {
      largest = std::max(largest, std::abs(output[i] - output[i - 2]));
    }
    return largest;
  }

  static constexpr int kToneStep = 600;  // 10000 * 2 pi * 440 / 48000, rounded up

  AudioAligner aligner;
  Samples output;
  int frame = 0;
};

TEST_F(AudioAlignerTest, ChunksInTimeAreContiguous) {
  Time next = kStart;
  for (int i = 0; i < 200; ++i) {
    const auto piece = put(kStart + lengthOf(static_cast<std::size_t>(frame) * 2));
    EXPECT_EQ(piece.moment, next);
    next += lengthOf(piece.samples.size());
  }
  EXPECT_LE(std::abs(frame - static_cast<int>(output.size() / 2)), 64)
      << "nothing is lost or added";
  EXPECT_LE(largestStep(), kToneStep);
}

TEST_F(AudioAlignerTest, FadesIn) {
  put(kStart);
  EXPECT_EQ(output[0], 0);
  EXPECT_LT(*std::max_element(output.begin(), output.begin() + 96), 3000);
}

// FLV rounds its time stamps to milliseconds.
TEST_F(AudioAlignerTest, RoundedTimesAreInaudible) {
  for (int i = 0; i < 500; ++i) {
    const auto exact = lengthOf(static_cast<std::size_t>(frame) * 2);
    put(kStart + std::chrono::round<std::chrono::milliseconds>(exact));
  }
  EXPECT_LE(largestStep(), kToneStep);
}

TEST_F(AudioAlignerTest, FollowsTimesThatDrift) {
  for (const double rate : {1.002, 0.998}) {
    aligner = AudioAligner();
    output.clear();
    frame = 0;
    Time moment = kStart;
    for (int i = 0; i < 2000; ++i) {
      moment = kStart + std::chrono::duration_cast<Duration>(
                            lengthOf(static_cast<std::size_t>(frame) * 2) * rate);
      put(moment);
    }
    EXPECT_LE(std::chrono::abs(aligner.error()), 1ms) << rate;
    EXPECT_LE(largestStep(), kToneStep) << rate;
    const double made = static_cast<double>(output.size()) / 2;
    EXPECT_NEAR(made / frame, rate, 0.0005);
  }
}

TEST_F(AudioAlignerTest, AJumpForwardLeavesAGap) {
  for (int i = 0; i < 10; ++i) put(kStart + lengthOf(static_cast<std::size_t>(frame) * 2));
  const Time later = kStart + 5s;
  const std::size_t before = output.size();
  EXPECT_EQ(put(later).moment, later);
  EXPECT_EQ(output[before], 0) << "it fades in again";
}

TEST_F(AudioAlignerTest, AJumpBackDropsWhatOverlaps) {
  for (int i = 0; i < 10; ++i) put(kStart + lengthOf(static_cast<std::size_t>(frame) * 2));
  const Time end = *aligner.end();
  EXPECT_TRUE(put(end - 100ms).samples.empty());
  EXPECT_GT(aligner.error(), 30ms);
  EXPECT_TRUE(put(end - 78'667us).samples.empty());
  const auto piece = put(end - 5ms);
  EXPECT_FALSE(piece.samples.empty());
  EXPECT_EQ(piece.moment, end) << "what is handed out never overlaps";
}

TEST_F(AudioAlignerTest, SmallDifferencesAreJumpsOnlyInTheBeginning) {
  const auto putAtPlus = [this](Duration late) {
    return put(kStart + lengthOf(static_cast<std::size_t>(frame) * 2) + late);
  };
  for (int i = 0; i < 10; ++i) putAtPlus(0ms);
  putAtPlus(20ms);
  EXPECT_EQ(aligner.error(), 0ms);
  while (frame < 3 * kPlayedAudio.rate) putAtPlus(20ms);
  putAtPlus(0ms);
  EXPECT_NEAR(static_cast<double>(aligner.error().count()) / 1e6, 20, 1);
  for (int i = 0; i < 470; ++i) putAtPlus(0ms);  // 10 s
  EXPECT_LT(std::chrono::abs(aligner.error()), 1ms);
}

TEST_F(AudioAlignerTest, AnEmptyPieceIsHarmless) {
  EXPECT_TRUE(aligner.align({}, kStart).samples.empty());
  EXPECT_EQ(put(kStart).moment, kStart);
}

}  // namespace
}  // namespace NimboEngine

#include "play/play_statistics.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

TEST(PlayStatistics, CountsPassingMedia) {
  PlayStatistics meter;
  EXPECT_EQ(meter.counts().arrived(), 0U);
  meter.addEncoded(Media::kVideo, 1000);
  meter.addEncoded(Media::kVideo, 500);
  meter.addEncoded(Media::kAudio, 20);
  meter.addFrame(640, 360);
  meter.addFrame(320, 180);
  meter.addAudio();
  const PlayCounts counts = meter.counts();
  EXPECT_EQ(counts.videoBytes, 1500U);
  EXPECT_EQ(counts.audioBytes, 20U);
  EXPECT_EQ(counts.decoded(), 3U);
  EXPECT_EQ(counts.width, 320);
  EXPECT_EQ(counts.height, 180);
}

TEST(Statistics, AreTheDifferenceOverTheTime) {
  const PlayCounts before{.videoBytes = 1000, .audioBytes = 500, .frames = 10, .shown = 9};
  PlayCounts after = before;
  after.videoBytes += 250'000;
  after.audioBytes += 16'000;
  after.frames += 60;
  after.shown += 30;
  after.width = 640;
  after.height = 360;
  const auto stats = statisticsBetween(before, after, 2s);
  EXPECT_EQ(stats.videoWidth, 640);
  EXPECT_EQ(stats.videoHeight, 360);
  EXPECT_EQ(stats.decodeFps, 30);
  EXPECT_EQ(stats.renderFps, 15);
  EXPECT_EQ(stats.videoBitrate, 1000);
  EXPECT_EQ(stats.audioBitrate, 64);
}

TEST(Statistics, LossIsThePartOfThePackets) {
  const PlayCounts before{.packets = {.all = {1000, 5}, .audio = {100, 0}}};
  const PlayCounts after{.packets = {.all = {1090, 15}, .audio = {149, 1}}};
  const auto stats = statisticsBetween(before, after, 1s);
  EXPECT_EQ(stats.lossRate, 10);
  EXPECT_EQ(stats.audioLossRate, 2);
  EXPECT_EQ(statisticsBetween(after, before, 1s).lossRate, 0)
      << "a new attempt restarts the counts";
  EXPECT_EQ(statisticsBetween({}, {}, 1s).lossRate, 0);
}

TEST(Statistics, AnOddSecondIsRounded) {
  const PlayCounts after{.frames = 31};
  EXPECT_EQ(statisticsBetween({}, after, 1040ms).decodeFps, 30);
  EXPECT_EQ(statisticsBetween({}, after, 0ms).decodeFps, 31000) << "no division by zero";
}

}  // namespace
}  // namespace NimboEngine

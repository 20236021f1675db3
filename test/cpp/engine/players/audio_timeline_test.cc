#include "players/audio_timeline.h"

#include <gtest/gtest.h>

#include <numeric>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using Samples = std::vector<int16_t>;

constexpr AudioTimeline::Time kStart{1h};

// `frames` frames with ascending numbers, from `first` on.
Samples numbered(int first, int frames) {
  Samples samples;
  for (int i = 0; i < frames; ++i)
    samples.insert(samples.end(), 2, static_cast<int16_t>(first + i));
  return samples;
}

Samples readAt(const AudioTimeline& timeline, AudioTimeline::Time moment, std::size_t frames) {
  Samples out(frames * 2, -1);
  timeline.read(moment, out);
  return out;
}

TEST(AudioTimeline, IsSilentBeforeTheFirstAudio) {
  const AudioTimeline timeline;
  EXPECT_EQ(readAt(timeline, kStart, 10), Samples(20, 0));
}

TEST(AudioTimeline, ReturnsTheAudioOfTheTime) {
  AudioTimeline timeline;
  timeline.put(numbered(1, 480), kStart);
  timeline.put(numbered(481, 480), kStart + 10ms);
  EXPECT_EQ(readAt(timeline, kStart, 960), numbered(1, 960));
  EXPECT_EQ(readAt(timeline, kStart + 5ms, 480), numbered(241, 480));
  EXPECT_EQ(readAt(timeline, kStart + 5ms, 480), numbered(241, 480)) << "reading does not consume";
}

TEST(AudioTimeline, IsSilentInGaps) {
  AudioTimeline timeline;
  timeline.put(numbered(1, 48), kStart);
  timeline.put(numbered(1, 48), kStart + 3ms);
  Samples wanted(2 * 48, 0);
  const auto append = [&](const Samples& more) {
    wanted.insert(wanted.end(), more.begin(), more.end());
  };
  append(numbered(1, 48));
  append(Samples(2 * 96, 0));
  append(numbered(1, 48));
  append(Samples(2 * 48, 0));
  EXPECT_EQ(readAt(timeline, kStart - 1ms, 6 * 48), wanted);
}

TEST(AudioTimeline, JoinsChunksWithRoundedTimes) {
  AudioTimeline timeline;
  timeline.put(numbered(1, 100), kStart);
  timeline.put(numbered(101, 100), kStart + 2083'334ns + 20us);
  EXPECT_EQ(readAt(timeline, kStart, 200), numbered(1, 200));
}

TEST(AudioTimeline, KeepsTheLastSecond) {
  AudioTimeline timeline;
  for (int i = 0; i < 150; ++i) timeline.put(numbered(i, 480), kStart + i * 10ms);
  EXPECT_EQ(readAt(timeline, kStart + 490ms, 480), Samples(960, 0));
  EXPECT_EQ(readAt(timeline, kStart + 500ms, 480), numbered(50, 480));
  EXPECT_EQ(readAt(timeline, kStart + 1490ms, 480), numbered(149, 480));
}

TEST(AudioTimeline, RestartsWhenTimeGoesBack) {
  AudioTimeline timeline;
  timeline.put(numbered(1, 480), kStart + 1min);
  timeline.put(numbered(7, 480), kStart);
  EXPECT_EQ(readAt(timeline, kStart, 480), numbered(7, 480));
  EXPECT_EQ(readAt(timeline, kStart + 1min, 480), Samples(960, 0));
}

TEST(AudioTimeline, IsEmptyOnceCleared) {
  AudioTimeline timeline;
  timeline.put(numbered(1, 480), kStart);
  timeline.clear();
  EXPECT_EQ(readAt(timeline, kStart, 480), Samples(960, 0));
}

}  // namespace
}  // namespace NimboEngine

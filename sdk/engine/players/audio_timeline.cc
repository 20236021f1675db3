#include "players/audio_timeline.h"

#include <algorithm>

namespace NimboEngine {
namespace {

constexpr int64_t kChannels = kPlayedAudio.channels;
constexpr int64_t kRate = kPlayedAudio.rate;
constexpr int64_t kLength = kRate;  // frames that are kept
// Times are rounded to nanoseconds and chunks are contiguous: a smaller difference is not a gap.
constexpr int64_t kRounding = 2;

int64_t frameAt(AudioTimeline::Time moment) {
  const int64_t ns = moment.time_since_epoch().count();
  constexpr int64_t kSecond = 1'000'000'000;
  return ns / kSecond * kRate + (ns % kSecond * kRate + kSecond / 2) / kSecond;
}

std::size_t placeOf(int64_t frame) {
  return static_cast<std::size_t>(frame % kLength * kChannels);
}

}  // namespace

void AudioTimeline::put(std::span<const int16_t> samples, Time moment) {
  const MutexLock lock(mutex_);
  ring_.resize(kLength * kChannels);
  int64_t start = frameAt(moment);
  if (std::abs(start - end_) <= kRounding) start = end_;
  if (start < end_ || start >= end_ + kLength) {
    held_ = 0;
  } else {
    for (int64_t frame = end_; frame < start; ++frame) {
      std::fill_n(ring_.begin() + static_cast<std::ptrdiff_t>(placeOf(frame)), kChannels,
                  int16_t{0});
    }
    held_ += start - end_;
  }
  const auto frames = static_cast<int64_t>(samples.size()) / kChannels;
  for (int64_t i = 0; i < frames; ++i) {
    std::copy_n(samples.begin() + i * kChannels, kChannels,
                ring_.begin() + static_cast<std::ptrdiff_t>(placeOf(start + i)));
  }
  end_ = start + frames;
  held_ = std::min(held_ + frames, kLength);
}

void AudioTimeline::read(Time moment, std::span<int16_t> out) const {
  const MutexLock lock(mutex_);
  const int64_t first = frameAt(moment);
  for (int64_t i = 0; i < static_cast<int64_t>(out.size()) / kChannels; ++i) {
    const int64_t frame = first + i;
    const auto place = out.begin() + i * kChannels;
    if (frame < end_ && frame >= end_ - held_) {
      std::copy_n(ring_.begin() + static_cast<std::ptrdiff_t>(placeOf(frame)), kChannels, place);
    } else {
      std::fill_n(place, kChannels, int16_t{0});
    }
  }
}

void AudioTimeline::clear() {
  const MutexLock lock(mutex_);
  held_ = 0;
}

}  // namespace NimboEngine

#include "play/play_statistics.h"

#include <algorithm>

namespace NimboEngine {
namespace {

// Rounded, since at 30 frames per second a given second may contain 29 or 31 frames.
int32_t perSecond(uint64_t before, uint64_t after, std::chrono::milliseconds time) {
  const auto count = static_cast<int64_t>(after - before);
  const int64_t length = std::max<int64_t>(time.count(), 1);
  return static_cast<int32_t>((count * 1000 + length / 2) / length);
}

}  // namespace

void PlayStatistics::addEncoded(Media media, std::size_t bytes) {
  const MutexLock lock(mutex_);
  (media == Media::kVideo ? counts_.videoBytes : counts_.audioBytes) += bytes;
}

void PlayStatistics::addFrame(int width, int height) {
  const MutexLock lock(mutex_);
  ++counts_.frames;
  counts_.width = width;
  counts_.height = height;
}

void PlayStatistics::addAudio() {
  const MutexLock lock(mutex_);
  ++counts_.audioChunks;
}

void PlayStatistics::setPackets(const StreamPackets& packets) {
  const MutexLock lock(mutex_);
  counts_.packets = packets;
}

PlayCounts PlayStatistics::counts() const {
  const MutexLock lock(mutex_);
  return counts_;
}

LumoRtc::LumoLivePlayerStatsInfo statisticsBetween(const PlayCounts& before,
                                                   const PlayCounts& after,
                                                   std::chrono::milliseconds time) {
  constexpr int kBytesToKbit = 125;
  LumoRtc::LumoLivePlayerStatsInfo stats;
  stats.videoWidth = after.width;
  stats.videoHeight = after.height;
  stats.decodeFps = perSecond(before.frames, after.frames, time);
  stats.renderFps = perSecond(before.shown, after.shown, time);
  stats.videoBitrate = perSecond(before.videoBytes, after.videoBytes, time) / kBytesToKbit;
  stats.audioBitrate = perSecond(before.audioBytes, after.audioBytes, time) / kBytesToKbit;
  stats.lossRate = lossBetween(before.packets.all, after.packets.all);
  stats.audioLossRate = lossBetween(before.packets.audio, after.packets.audio);
  return stats;
}

}  // namespace NimboEngine

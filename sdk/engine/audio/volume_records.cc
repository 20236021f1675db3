#include "audio/volume_records.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace NimboEngine {

using namespace LumoRtc;

namespace {

constexpr int kLoudest = 255;

}  // namespace

std::vector<LumoLiveUserVolumeInfo> VolumeRecords::make(const std::vector<UserLevel>& users) {
  std::map<LumoLivePlayer*, double> levels;  // users who have left are dropped
  std::vector<LumoLiveUserVolumeInfo> records;
  int sum = 0;
  for (const auto& [player, reading] : users) {
    const auto known = levels_.find(player);
    const double before = known == levels_.end() ? 0 : known->second;
    const double level = reading.peak > 0 ? before + (reading.peak - before) / (smooth_ + 1) : 0;
    levels[player] = level;
    const int volume = static_cast<int>(std::lround(level * kLoudest));
    sum += volume;
    records.push_back({.userType = player ? kLumoLiveUserVolumeRemote : kLumoLiveUserVolumeLocal,
                       .player = player,
                       .speechState = reading.voice,
                       .volume = volume});
  }
  for (LumoLiveUserVolumeInfo& record : records) record.sumVolume = std::min(sum, kLoudest);
  levels_ = std::move(levels);
  return records;
}

}  // namespace NimboEngine

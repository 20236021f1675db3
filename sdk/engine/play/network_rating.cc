#include "play/network_rating.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;

constexpr int kSecondsUntilBetter = 3;

struct Limit {
  std::chrono::milliseconds delay;
  int lossPercent;
  LumoLiveNetworkQuality quality;
};

constexpr Limit kLimits[] = {
    {100ms, 1, kLumoLiveNetworkQualityExcellent},
    {300ms, 3, kLumoLiveNetworkQualityGood},
    {1000ms, 10, kLumoLiveNetworkQualityPoor},
    {3000ms, 100, kLumoLiveNetworkQualityBad},
};

LumoLiveNetworkQuality qualityOf(const NetworkRating::Second& second) {
  if (!second.connected) return kLumoLiveNetworkQualityDown;
  for (const Limit& limit : kLimits) {
    if (second.delay <= limit.delay && second.lossPercent <= limit.lossPercent) {
      return limit.quality;
    }
  }
  return kLumoLiveNetworkQualityDown;
}

}  // namespace

std::optional<LumoLiveNetworkQuality> NetworkRating::judge(const Second& second) {
  const LumoLiveNetworkQuality now = qualityOf(second);
  const bool better = quality_ != kLumoLiveNetworkQualityUnknown && now < quality_;
  betterSeconds_ = better ? betterSeconds_ + 1 : 0;
  if (now == quality_ || (better && betterSeconds_ < kSecondsUntilBetter)) return std::nullopt;
  betterSeconds_ = 0;
  return quality_ = now;
}

}  // namespace NimboEngine

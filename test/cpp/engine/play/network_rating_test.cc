#include "play/network_rating.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;
using Second = NetworkRating::Second;

constexpr Second kGoodSecond{.delay = 0ms};

TEST(NetworkRating, ReportsTheFirstQualityAndThenChangesOnly) {
  NetworkRating rating;
  EXPECT_EQ(rating.judge(kGoodSecond), kLumoLiveNetworkQualityExcellent);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(rating.judge(kGoodSecond), std::nullopt);
}

TEST(NetworkRating, FollowsTheTable) {
  const struct {
    Second second;
    LumoLiveNetworkQuality quality;
  } cases[] = {
      {{.delay = 100ms, .lossPercent = 1}, kLumoLiveNetworkQualityExcellent},
      {{.delay = 101ms}, kLumoLiveNetworkQualityGood},
      {{.lossPercent = 2}, kLumoLiveNetworkQualityGood},
      {{.delay = 301ms}, kLumoLiveNetworkQualityPoor},
      {{.lossPercent = 4}, kLumoLiveNetworkQualityPoor},
      {{.delay = 1001ms}, kLumoLiveNetworkQualityBad},
      {{.lossPercent = 100}, kLumoLiveNetworkQualityBad},
      {{.delay = 3001ms}, kLumoLiveNetworkQualityDown},
      {{.connected = false}, kLumoLiveNetworkQualityDown},
  };
  for (const auto& [second, quality] : cases) {
    EXPECT_EQ(NetworkRating().judge(second), quality)
        << second.delay.count() << " ms, " << second.lossPercent << " %";
  }
}

TEST(NetworkRating, WorseAtOnceBetterAfterThreeSeconds) {
  NetworkRating rating;
  rating.judge(kGoodSecond);
  EXPECT_EQ(rating.judge({.delay = 2s}), kLumoLiveNetworkQualityBad);
  EXPECT_EQ(rating.judge(kGoodSecond), std::nullopt);
  EXPECT_EQ(rating.judge(kGoodSecond), std::nullopt);
  EXPECT_EQ(rating.judge({.delay = 2s}), std::nullopt) << "a relapse restarts the count";
  EXPECT_EQ(rating.judge(kGoodSecond), std::nullopt);
  EXPECT_EQ(rating.judge(kGoodSecond), std::nullopt);
  EXPECT_EQ(rating.judge(kGoodSecond), kLumoLiveNetworkQualityExcellent);
}

}  // namespace
}  // namespace NimboEngine

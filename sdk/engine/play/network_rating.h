// Rates a player's connection once a second.
//
//   quality    delay up to  loss up to
//   ---------  -----------  ----------
//   excellent        100 ms        1 %
//   good             300 ms        3 %
//   poor            1000 ms       10 %
//   bad             3000 ms      100 %
//   down       longer, or no connection
//
// A worse rating is reported immediately, a better one only after three such seconds in a row.
//
// Thread: one at a time. Time passes with the calls.
// Failure: none.

#pragma once

#include <chrono>
#include <optional>

#include "NimboSdk/LumoLiveDefine.h"

namespace NimboEngine {

class NetworkRating {
 public:
  struct Second {
    bool connected = true;
    std::chrono::milliseconds delay{0};
    int lossPercent = 0;
  };

  // Returns the new quality if it has changed.
  std::optional<LumoRtc::LumoLiveNetworkQuality> judge(const Second& second);

 private:
  LumoRtc::LumoLiveNetworkQuality quality_ = LumoRtc::kLumoLiveNetworkQualityUnknown;
  int betterSeconds_ = 0;
};

}  // namespace NimboEngine

// Detects that an attempt to play has stalled: most elements wait forever for a server that sends
// nothing.
//
// Thread: one at a time. The time is passed in.
// Failure: none.

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "NimboSdk/LumoLiveResult.h"
#include "play/play_statistics.h"

namespace NimboEngine {

class StallDetector {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // Until anything arrives.
  static constexpr std::chrono::seconds kArrival{10};
  // From there to the first decoded frame or audio; key frames may be ten seconds apart.
  static constexpr std::chrono::seconds kDecoding{15};
  // `silence`: how long a playing stream may stall; none: forever, as a file may.
  StallDetector(Time now, std::optional<std::chrono::seconds> silence)
      : silence_(silence), lastChange_(now) {}

  // Returns an error if it has stalled. `answered`: whether the server has sent anything.
  std::optional<LumoRtc::LumoLiveErrorCode> check(Time now, const PlayCounts& counts,
                                                  bool answered);

 private:
  const std::optional<std::chrono::seconds> silence_;
  Time lastChange_;
  uint64_t arrived_ = 0;
  uint64_t decoded_ = 0;
};

}  // namespace NimboEngine

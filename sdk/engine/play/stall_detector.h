// Watches one attempt to play for standing still: most elements wait for ever for a server that
// says nothing.
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

  // For anything to arrive.
  static constexpr std::chrono::seconds kArrival{10};
  // From there to the first picture or sound; key frames may be ten seconds apart.
  static constexpr std::chrono::seconds kDecoding{15};
  // `silence`: how long a stream that plays may stand still; none for ever, as a file may.
  StallDetector(Time now, std::optional<std::chrono::seconds> silence)
      : silence_(silence), lastChange_(now) {}

  // What is wrong, when something is. `answered` tells whether the server has said anything.
  std::optional<LumoRtc::LumoLiveErrorCode> check(Time now, const PlayCounts& counts,
                                                  bool answered);

 private:
  const std::optional<std::chrono::seconds> silence_;
  Time lastChange_;
  uint64_t arrived_ = 0;
  uint64_t decoded_ = 0;
};

}  // namespace NimboEngine

// The retry schedule after a live stream was lost: soon at first, then less often, until it has
// been gone for too long.
//
// Thread: one at a time. The time is passed in.
// Failure: none.

#pragma once

#include <chrono>
#include <optional>

namespace NimboEngine {

class RetryPlan {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::milliseconds;

  static constexpr Duration kFirstPause{500};
  static constexpr Duration kLongestPause{2000};
  static constexpr Duration kTimeout{10'000};

  // To be called when the stream is lost, or an attempt to resume it has failed. Returns the delay
  // before the next attempt; none if there is to be none.
  std::optional<Duration> nextPause(Time now);

  // To be called when it plays again.
  void recovered() { lostSince_.reset(); }

  bool isLost() const { return lostSince_.has_value(); }

 private:
  std::optional<Time> lostSince_;
  Duration pause_{kFirstPause};
};

}  // namespace NimboEngine

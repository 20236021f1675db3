// When to try again after a live stream was lost: soon at first, then less often, until it has been
// gone for too long.
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

  // The stream is gone, or an attempt to have it back has failed. Returns how long to wait before
  // the next attempt; none when there is to be none.
  std::optional<Duration> nextPause(Time now);

  // It plays again.
  void recovered() { lostSince_.reset(); }

  bool isLost() const { return lostSince_.has_value(); }

 private:
  std::optional<Time> lostSince_;
  Duration pause_{kFirstPause};
};

}  // namespace NimboEngine

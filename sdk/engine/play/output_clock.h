// Estimates how far the clock of an audio output is ahead of the system's, from noisy readings. A
// sound card drifts; an output that stalls for a while, as some do when they start, jumps.
//
// Thread: one at a time.
// Failure: none.

#pragma once

#include <algorithm>
#include <chrono>

namespace NimboEngine {

class OutputClock {
 public:
  using Duration = std::chrono::nanoseconds;

  // Takes a reading of how much the output is ahead. Returns whether it has jumped, which takes
  // several readings to detect, or has been read for the first time.
  bool add(Duration reading) {
    const Duration difference = reading - ahead_;
    jumped_ = std::chrono::abs(difference) > kJump ? jumped_ + 1 : 0;
    const bool restarts = readings_ == 0 || jumped_ >= kConfirmed;
    readings_ = restarts ? 1 : std::min(readings_ + 1, kSmoothing);
    if (restarts) jumped_ = 0;
    // The mean at first, smoothed later.
    if (jumped_ == 0) ahead_ += difference / readings_;
    return restarts;
  }

  Duration ahead() const { return ahead_; }

 private:
  static constexpr std::chrono::milliseconds kJump{30};
  static constexpr int kConfirmed = 3;
  static constexpr int kSmoothing = 64;

  Duration ahead_{0};
  int readings_ = 0;
  int jumped_ = 0;
};

}  // namespace NimboEngine

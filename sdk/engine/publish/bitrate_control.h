// Controls the video bit rate of a push: the target as long as the network sustains it, less while
// it does not, down to the minimum.
//
//   observation                                         action
//   --------------------------------------------------  ----------------------------------------
//   media of 0.6 s or more wait, no less than before    down by 30 %, once a second at most the
//   server takes nothing for the send time-out      down to a half media of 0.2 s at most wait, for
//   three seconds      up by an eighth of the target, and again every three seconds
//
// Thread: one at a time; the engine thread in practice.

#pragma once

#include <chrono>
#include <functional>
#include <optional>

namespace NimboEngine {

// In kbit/s. A minimum above the target counts as the target.
struct BitrateLimits {
  int minimum = 0;
  int target = 0;
  int initial = 0;
  bool controlled = true;  // false: always the target
};

class BitrateControl {
 public:
  using Clock = std::chrono::steady_clock;
  using Now = std::function<Clock::time_point()>;

  BitrateControl(const BitrateLimits& limits, Now now);

  int kbps() const { return kbps_; }

  // Changes the limits. A rate that was at the target follows it immediately; one that was lowered
  // rises from its current value.
  void setLimits(int minimum, int target);

  // `waiting` is the playing time of the queued media.
  void update(std::chrono::milliseconds waiting);

  void onSendTimeout();

  // The queued media were discarded with their connection.
  void onNewConnection();

 private:
  void change(double kbps);

  BitrateLimits limits_;
  const Now now_;
  int kbps_;
  Clock::time_point lastCut_;
  std::chrono::milliseconds waitingAtCut_{};
  std::optional<Clock::time_point> clearSince_;
};

}  // namespace NimboEngine

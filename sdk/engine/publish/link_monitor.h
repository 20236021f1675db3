// Monitors a connection by the amount of queued media and by the server's acknowledgements.
//
//   what is seen                                           event
//   -----------------------------------------------------  ------------
//   media of 1 s or more wait, for half a second           poor
//   while poor: of 0.3 s at most, for two seconds          recovered
//   media wait and the server takes nothing for the        send timeout
//   timeout, once until it takes something again
//   the same for twice the timeout                         none: isDead()
//
// Between the two limits the state is kept, so a marginal link does not oscillate. A link that was
// poor when it broke stays poor until its successor has proved better.
//
// Thread: one at a time; the engine thread in practice.

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "publish/network_event.h"

namespace NimboEngine {

// One sample of a connection's state.
struct LinkSample {
  std::chrono::milliseconds waiting{};  // playing time of the queued media
  bool empty = true;                    // nothing is queued
  uint64_t taken = 0;                   // bytes acknowledged so far
};

class LinkMonitor {
 public:
  using Clock = std::chrono::steady_clock;
  using Now = std::function<Clock::time_point()>;

  LinkMonitor(std::chrono::milliseconds sendTimeout, Now now);

  // To be called when another connection begins.
  void restart();

  // What follows from a further look, taken now.
  std::vector<NetworkEvent> update(const LinkSample& sample);

  bool isPoor() const { return poor_; }

  // The server takes nothing any more.
  bool isDead() const { return dead_; }

 private:
  bool hasHeld(bool condition, Clock::duration time);
  bool changesSide(const LinkSample& sample);
  Clock::duration stalledFor(const LinkSample& sample);

  const std::chrono::milliseconds sendTimeout_;
  const Now now_;

  bool poor_ = false;
  std::optional<Clock::time_point> changing_;  // since when the condition for a change has held
  std::optional<Clock::time_point> progress_;  // last acknowledgement, or time with an empty queue
  uint64_t taken_ = 0;
  bool timedOut_ = false;
  bool dead_ = false;
};

}  // namespace NimboEngine

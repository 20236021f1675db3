// Judges a connection by how much media waits for the server and whether it takes any.
//
//   what is seen                                           event
//   -----------------------------------------------------  ------------
//   media of 1 s or more wait, for half a second           poor
//   while poor: of 0.3 s at most, for two seconds          recovered
//   media wait and the server takes nothing for the        send timeout
//   timeout, once until it takes something again
//   the same for twice the timeout                         none: isDead()
//
// The times between the two limits change nothing, so a link at its edge does not flutter. A link
// that was poor when it broke stays so until its successor has proved better.
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

// One look at a connection.
struct LinkSample {
  std::chrono::milliseconds waiting{};  // playing time of the media that wait
  bool empty = true;                    // nothing waits at all
  uint64_t taken = 0;                   // bytes the server has taken so far
};

class LinkMonitor {
 public:
  using Clock = std::chrono::steady_clock;
  using Now = std::function<Clock::time_point()>;

  LinkMonitor(std::chrono::milliseconds sendTimeout, Now now);

  // Another connection begins.
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
  std::optional<Clock::time_point> changing_;  // since when the other side's condition holds
  std::optional<Clock::time_point> progress_;  // when something was last taken, or nothing waited
  uint64_t taken_ = 0;
  bool timedOut_ = false;
  bool dead_ = false;
};

}  // namespace NimboEngine

// How late the data of a live stream arrive, against the best time that they ever made.
//
// A sender sends at an even pace; what takes longer than usual waited in the network. The shortest
// way is learnt from the stream itself and slowly forgotten, since the two ends' clocks drift.
//
// Thread: one at a time. The time is passed in.
// Failure: none. A jump in the stream's time stamps begins anew.

#pragma once

#include <chrono>
#include <optional>

namespace NimboEngine {

class DelayMeter {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::nanoseconds;

  void add(Time now, Duration timestamp);

  // The longest delay since the last call, that of overdue data that have not come yet included.
  std::chrono::milliseconds takeWorst(Time now);

 private:
  struct Arrival {
    Time time;
    Duration timestamp;
  };

  // When data of that time stamp would arrive without delay.
  Time dueTime(Duration timestamp) const { return shortest_ + timestamp; }

  std::optional<Arrival> last_;
  Duration step_{0};  // between the time stamps of the last two arrivals
  Time shortest_;     // time of arrival less time stamp, at best
  Duration worst_{0};
};

}  // namespace NimboEngine

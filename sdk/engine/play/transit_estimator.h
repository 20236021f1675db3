// Estimates, from the media of a live stream as they become ready to be presented, how long they
// take from the sender to here: the shortest transit, and how far above it the others lie.
//
// A transit is the time at which something was ready less its time stamp; the two clocks have
// different origins, so only differences between transits mean anything. The shortest one is slowly
// forgotten, since the clocks drift.
//
// Thread: one at a time. The time is passed in.
// Failure: none. A jump of the time stamps restarts the estimate.

#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

#include "media/media.h"

namespace NimboEngine {

class TransitEstimator {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::nanoseconds;

  // Whether the estimate begins with these media: they are the first, their time stamps jump, or
  // their transit is so much shorter than those before that what came before had waited somewhere,
  // in a server's cache or a stalled network.
  bool add(Media media, Time now, Duration timestamp);

  void restart();

  // The shortest transit; something must have been added.
  Duration shortest() const { return *shortest_; }

  // How far above the shortest transit 98 of 100 tenths of a second of the last 10 s stay. None
  // before the first media.
  std::optional<Duration> jitter(Media media) const;

  // How late the media were at worst since the last call, those included that are overdue and have
  // not come. Video counts; audio only without video.
  std::chrono::milliseconds takeWorst(Time now);

 private:
  struct Slot {
    Time begin;
    Duration longest;
  };
  struct Stream {
    std::vector<Slot> slots;  // tenths of a second in which something came, the oldest first
    std::optional<Duration> timestamp;
    Duration step{0};  // between the last two time stamps
    Duration worst{0};
    Time fallsSince;
    Duration fallen{0};  // by how much it has made the shortest transit shorter since then
  };

  static bool hasJumped(const Stream& stream, Duration timestamp);
  bool hasFallen(Media media, Time now, Duration drop);
  void remember(Stream& stream, Time now, Duration transit) const;
  const Stream& of(Media media) const { return streams_[static_cast<std::size_t>(media)]; }
  Stream& of(Media media) { return streams_[static_cast<std::size_t>(media)]; }

  std::optional<Duration> shortest_;
  Time updated_;
  std::array<Stream, 2> streams_;
};

}  // namespace NimboEngine

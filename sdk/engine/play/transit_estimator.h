// Estimates the transit times of a live stream's media from the sender to the presentation: the
// shortest transit, and how far the others exceed it.
//
// A transit is the time at which media were ready minus their time stamp; the two clocks have
// different origins, so only differences between transits are meaningful. The shortest one decays
// slowly, since the clocks drift.
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

  // Returns whether the estimate restarts with these media: they are the first, their time stamps
  // jump, or their transit is so much shorter that earlier media must have been queued somewhere,
  // in a server's cache or a stalled network.
  bool add(Media media, Time now, Duration timestamp);

  void restart();

  // Returns the shortest transit; something must have been added.
  Duration shortest() const { return *shortest_; }

  // Returns the 98th percentile of the excess over the shortest transit, over the tenths of a
  // second of the last 10 s. None before the first media.
  std::optional<Duration> jitter(Media media) const;

  // Returns the worst lateness of media since the last call, including media that are overdue. Of
  // video; of audio only without video.
  std::chrono::milliseconds takeWorst(Time now);

 private:
  struct Slot {
    Time begin;
    Duration longest;
  };
  struct Stream {
    std::vector<Slot> slots;  // tenths of a second in which something arrived, the oldest first
    std::optional<Duration> timestamp;
    Duration step{0};  // between the last two time stamps
    Duration worst{0};
    Time fallsSince;
    Duration fallen{0};  // by how much the shortest transit has fallen since then
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

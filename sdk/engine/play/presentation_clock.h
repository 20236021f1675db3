// The presentation clock of a player: maps time stamps of the stream to presentation times, at
// which frames leave the engine and audio is audible.
//
//   live   moment = time stamp + shortest transit + depth. The depth covers the jitter of either
//          stream between the bounds of the settings, and for audio the lead that the output needs.
//          It follows by at most 4 ms a second, which audio takes by resampling; it jumps where
//          data were late or were found to have been queued upstream, since the audio has a gap
//          there anyway, and to earlier times when the jitter has been measured, 1.5 s after the
//          start. timed  moment = time stamp + a constant, chosen when the first media are ready,
//          and later only moved when the data do not come in time.
//
// With the setting `lowest`, video frames of live streams are due when they are ready.
//
// Thread: any.
// Failure: none. A jump of a live stream's time stamps restarts the clock.

#pragma once

#include <chrono>
#include <optional>

#include "base/mutex.h"
#include "media/media.h"
#include "play/latency_settings.h"
#include "play/transit_estimator.h"

namespace NimboEngine {

class PresentationClock {
 public:
  using Time = TransitEstimator::Time;
  using Duration = TransitEstimator::Duration;

  // How long before its presentation time audio is passed to the output: the output's buffer of 120
  // ms, and a margin for the transfer.
  static constexpr std::chrono::milliseconds kAudioLead{140};
  // Audio that is passed to the output later than this before its presentation time cannot be
  // played in time.
  static constexpr std::chrono::milliseconds kAudioDeadline{30};

  explicit PresentationClock(const LatencySettings& settings) : settings_(settings) {}

  // Sets whether the stream is presented as it arrives; to be called before the first media are
  // ready.
  void setLive(bool live);

  // Decoded media are ready to be presented. `waited`: they could have been ready earlier, but the
  // presenter's queue was full; so they say nothing about the network. Returns whether all
  // presentation times have jumped.
  bool ready(Media media, Time now, Duration timestamp, bool waited);

  // Returns the presentation time of media with that time stamp; something must have been ready.
  Time due(Media media, Duration timestamp) const;

  // Returns the worst lateness of media since the last call; see TransitEstimator.
  std::chrono::milliseconds takeWorstDelay(Time now);

  // Returns how long live media are currently buffered, counted from the shortest transit.
  std::chrono::milliseconds depth() const;

 private:
  bool readyLive(Media media, Time now, Duration timestamp, bool waited) NIMBO_REQUIRES(mutex_);
  bool readyTimed(Media media, Time now, Duration timestamp) NIMBO_REQUIRES(mutex_);
  bool isPermanentlyLate(Time now, Duration late) NIMBO_REQUIRES(mutex_);
  void follow(Time now) NIMBO_REQUIRES(mutex_);
  Duration lateness(Media media, Time now, Duration timestamp) const NIMBO_REQUIRES(mutex_);
  Duration wantedDepth() const NIMBO_REQUIRES(mutex_);
  Duration bounded(Duration jitter) const;

  const LatencySettings settings_;
  mutable Mutex mutex_;
  bool live_ NIMBO_GUARDED_BY(mutex_) = true;
  bool hasAudio_ NIMBO_GUARDED_BY(mutex_) = false;
  Time lastAudio_ NIMBO_GUARDED_BY(mutex_);  // when audio was ready last
  TransitEstimator transit_ NIMBO_GUARDED_BY(mutex_);
  std::optional<Duration> offset_ NIMBO_GUARDED_BY(mutex_);  // moment less time stamp
  std::optional<Time> learnsUntil_ NIMBO_GUARDED_BY(mutex_);
  Time followed_ NIMBO_GUARDED_BY(mutex_);
  std::optional<Time> outage_
      NIMBO_GUARDED_BY(mutex_);  // since when everything has arrived later than the settings allow
};

}  // namespace NimboEngine

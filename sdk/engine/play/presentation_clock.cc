#include "play/presentation_clock.h"

#include <algorithm>
#include <utility>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using Duration = PresentationClock::Duration;

// Added to the jitter, for threads that are scheduled late.
constexpr Duration kMargin = 15ms;
// The assumed jitter before it has been measured.
constexpr Duration kFirstJitter = 40ms;
// The slew rate of the clock while media are presented: 0.4 %, a fourteenth of a semitone. Audio,
// which may be resampled by more than that, keeps up.
constexpr int kSlewDivisor = 250;
// The jitter is measured for this time, from the first media and from the first audio on. At its end
// the clock jumps to earlier times, however little, so that it need not slew for seconds; not to
// later ones: that would leave a gap in the audio, which its lead often makes unnecessary.
constexpr Duration kLearning = 1500ms;
// Lateness below this is corrected by slewing.
constexpr Duration kTolerance = 20ms;
// A sender that was paused and does not catch up is late permanently.
constexpr Duration kLongestOutage = 1500ms;

// Timed media: how much is buffered before the first is presented, and again after an underrun.
constexpr Duration kTimedStart = 40ms;
constexpr Duration kTimedRefill = 100ms;
// Video alone moves the clock when it stalls for this long; below, frames are dropped.
constexpr Duration kTimedVideoStall = 200ms;
constexpr Duration kAudioGone = 1s;

}  // namespace

void PresentationClock::setLive(bool live) {
  const MutexLock lock(mutex_);
  live_ = live;
}

bool PresentationClock::ready(Media media, Time now, Duration timestamp, bool waited) {
  const MutexLock lock(mutex_);
  if (media == Media::kAudio) {
    if (!std::exchange(hasAudio_, true)) {
      learnsUntil_ = now + kLearning;
      if (live_ && offset_) offset_ = std::max(*offset_, transit_.shortest() + wantedDepth());
    }
    lastAudio_ = now;
  }
  return live_ ? readyLive(media, now, timestamp, waited) : readyTimed(media, now, timestamp);
}

bool PresentationClock::readyLive(Media media, Time now, Duration timestamp, bool waited) {
  if (waited && offset_) return false;
  bool begins = transit_.add(media, now, timestamp);
  if (!begins && isPermanentlyLate(now, lateness(media, now, timestamp))) {
    transit_.restart();
    begins = transit_.add(media, now, timestamp);
  }
  if (!begins) {
    follow(now);
    return false;
  }
  if (!offset_) learnsUntil_ = now + kLearning;
  offset_ = transit_.shortest() + wantedDepth();
  followed_ = now;
  outage_.reset();
  return true;
}

// If media are late the clock waits for them, within the bounds of the settings. Beyond that it is
// an outage, whose media are dropped until the sender has caught up; some never do.
bool PresentationClock::isPermanentlyLate(Time now, Duration late) {
  const Duration ceiling = transit_.shortest() + settings_.maximum + (hasAudio_ ? kAudioLead : 0ms);
  const bool waits = late > kTolerance && *offset_ + late + kMargin <= ceiling;
  // The audio gets a gap: large enough that a second one is not needed.
  if (waits) offset_ = std::max(*offset_ + late + kMargin, transit_.shortest() + wantedDepth());
  if (waits || late <= kTolerance) {
    outage_.reset();
  } else if (!outage_) {
    outage_ = now;
  }
  return outage_ && now - *outage_ > kLongestOutage;
}

void PresentationClock::follow(Time now) {
  const Duration wanted = transit_.shortest() + wantedDepth();
  const Duration step = (now - followed_) / kSlewDivisor;
  const Duration difference = wanted - *offset_;
  followed_ = now;
  const bool learnt = learnsUntil_ && now >= *learnsUntil_;
  if (learnt) learnsUntil_.reset();
  if (learnt && difference < 0ns) {
    offset_ = wanted;
  } else if (!learnsUntil_ || difference > 0ns) {
    *offset_ += std::clamp(difference, -step, step);
  }
}

bool PresentationClock::readyTimed(Media media, Time now, Duration timestamp) {
  if (!offset_) {
    offset_ = now.time_since_epoch() - timestamp + kTimedStart + kAudioLead;
    return true;
  }
  const Duration late = lateness(media, now, timestamp);
  const bool videoLeads = !hasAudio_ || now - lastAudio_ > kAudioGone;
  const bool stalled = media == Media::kAudio ? late > 0ns : videoLeads && late > kTimedVideoStall;
  if (stalled) *offset_ += late + kTimedRefill;
  return stalled;
}

// Returns by how much the media miss their presentation time.
Duration PresentationClock::lateness(Media media, Time now, Duration timestamp) const {
  if (media == Media::kVideo && live_ && settings_.lowest) return 0ns;
  Duration late = now.time_since_epoch() - timestamp - *offset_;
  // With the tolerance, this is the deadline.
  if (media == Media::kAudio) late += kAudioDeadline + kTolerance;
  return late;
}

Duration PresentationClock::bounded(Duration jitter) const {
  return std::clamp<Duration>(jitter, settings_.minimum, settings_.maximum);
}

Duration PresentationClock::wantedDepth() const {
  const auto needed = [this](Media media) NIMBO_REQUIRES(mutex_) {
    return bounded(transit_.jitter(media).value_or(kFirstJitter) + kMargin);
  };
  // Without synchronisation the clock is used by audio only.
  const Duration video = settings_.lowest ? 0ns : needed(Media::kVideo);
  return hasAudio_ ? std::max(video, needed(Media::kAudio) + kAudioLead) : video;
}

PresentationClock::Time PresentationClock::due(Media media, Duration timestamp) const {
  const MutexLock lock(mutex_);
  if (media == Media::kVideo && live_ && settings_.lowest) return Time::min();
  return Time(*offset_ + timestamp);
}

std::chrono::milliseconds PresentationClock::takeWorstDelay(Time now) {
  const MutexLock lock(mutex_);
  return live_ ? transit_.takeWorst(now) : std::chrono::milliseconds(0);
}

std::chrono::milliseconds PresentationClock::depth() const {
  const MutexLock lock(mutex_);
  if (!offset_ || !live_) return 0ms;
  return std::chrono::duration_cast<std::chrono::milliseconds>(*offset_ - transit_.shortest());
}

}  // namespace NimboEngine

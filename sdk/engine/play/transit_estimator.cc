#include "play/transit_estimator.h"

#include <algorithm>
#include <utility>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

// No sender pauses for this long; its time stamps have been reset.
constexpr TransitEstimator::Duration kReset = 10s;
// Decoders output frames in order; larger steps back mean that the sender was restarted.
constexpr TransitEstimator::Duration kReordering = 1s;
// The decay of the shortest transit: 1 ms per second. Computer clocks drift a tenth of that,
// senders clocked by sound cards somewhat more.
constexpr int kForgetting = 1000;
// A transit that shortens by this much within a short time is not jitter. MPEG-TS packs up to half
// a second of audio into one packet, whose first chunk has waited for the last.
constexpr TransitEstimator::Duration kVideoBacklog = 50ms;
constexpr TransitEstimator::Duration kAudioBacklog = 700ms;
constexpr TransitEstimator::Duration kBacklogTime = 500ms;

constexpr TransitEstimator::Duration kSlot = 100ms;
constexpr TransitEstimator::Duration kWindow = 10s;
constexpr std::size_t kShare = 98;

}  // namespace

bool TransitEstimator::add(Media media, Time now, Duration timestamp) {
  if (hasJumped(of(media), timestamp)) restart();
  Stream& stream = of(media);
  const Duration lastStep = stream.step;
  if (stream.timestamp) stream.step = std::max(timestamp - *stream.timestamp, Duration::zero());
  stream.timestamp = timestamp;

  const Duration transit = now.time_since_epoch() - timestamp;
  const bool first = !shortest_;
  const Duration before = first ? transit : *shortest_ + (now - updated_) / kForgetting;
  shortest_ = std::min(before, transit);
  updated_ = now;
  // Encoders hold a frame until they know how long it lasts; the one after a pause comes early.
  const Duration usual = lastStep > 0ns ? lastStep : stream.step;
  const bool waited = hasFallen(media, now, std::min(before - *shortest_, usual));
  if (waited) {
    for (Stream& each : streams_) each.slots.clear();
  }
  remember(stream, now, transit);
  stream.worst = std::max(stream.worst, transit - *shortest_);
  return first || waited;
}

// Returns whether the shortest transit has fallen by more than jitter. A cache is sent frame by
// frame, so its drops have to be summed.
bool TransitEstimator::hasFallen(Media media, Time now, Duration drop) {
  Stream& stream = of(media);
  if (now - stream.fallsSince > kBacklogTime) {
    stream.fallsSince = now;
    stream.fallen = 0ns;
  }
  stream.fallen += drop;
  if (stream.fallen <= (media == Media::kVideo ? kVideoBacklog : kAudioBacklog)) return false;
  stream.fallen = 0ns;
  return true;
}

bool TransitEstimator::hasJumped(const Stream& stream, Duration timestamp) {
  if (!stream.timestamp) return false;
  const Duration step = timestamp - *stream.timestamp;
  return step > kReset || step < -kReordering;
}

void TransitEstimator::restart() {
  shortest_.reset();
  streams_ = {};
}

void TransitEstimator::remember(Stream& stream, Time now, Duration transit) const {
  auto& slots = stream.slots;
  if (!slots.empty() && now - slots.back().begin < kSlot) {
    slots.back().longest = std::max(slots.back().longest, transit);
    return;
  }
  std::erase_if(slots, [now](const Slot& slot) { return now - slot.begin > kWindow; });
  slots.push_back({now, transit});
}

std::optional<TransitEstimator::Duration> TransitEstimator::jitter(Media media) const {
  const auto& slots = of(media).slots;
  if (slots.empty()) return std::nullopt;
  std::vector<Duration> longest;
  longest.reserve(slots.size());
  for (const Slot& slot : slots) longest.push_back(slot.longest);
  const auto rank =
      longest.begin() + static_cast<std::ptrdiff_t>((longest.size() - 1) * kShare / 100);
  std::nth_element(longest.begin(), rank, longest.end());
  return std::max(*rank - *shortest_, Duration::zero());
}

std::chrono::milliseconds TransitEstimator::takeWorst(Time now) {
  Duration worst{0};
  // Audio first: where there is video, its figure replaces that of the audio.
  for (const Media media : {Media::kAudio, Media::kVideo}) {
    Stream& stream = of(media);
    if (!stream.timestamp) continue;
    worst = std::exchange(stream.worst, 0ns);
    const Duration next = *stream.timestamp + stream.step;
    worst = std::max(worst, now.time_since_epoch() - next - *shortest_);
  }
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::max(worst, Duration::zero()));
}

}  // namespace NimboEngine

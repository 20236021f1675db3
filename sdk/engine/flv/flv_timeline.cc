#include "flv/flv_timeline.h"

#include <algorithm>

namespace NimboEngine {

FlvTimeline::Place FlvTimeline::place(std::size_t stream, uint32_t timestampMs) {
  const int64_t raw = unwrap(timestampMs);
  Place place{raw + offset_, false};
  if (isJump(stream, place.ms)) {
    place = {*newest_ + kEpochGapMs, true};
    offset_ = place.ms - raw;
  }
  auto& last = last_[stream];
  if (last) place.ms = std::max(place.ms, *last);
  last = place.ms;
  newest_ = newest_ ? std::max(*newest_, place.ms) : place.ms;
  return place;
}

// Returns the value nearest to the previous one whose lower 32 bits are `timestampMs`.
int64_t FlvTimeline::unwrap(uint32_t timestampMs) {
  if (raw_) {
    const uint32_t step = timestampMs - static_cast<uint32_t>(*raw_);
    raw_ = *raw_ + static_cast<int32_t>(step);
  } else {
    raw_ = timestampMs;
  }
  return *raw_;
}

bool FlvTimeline::isJump(std::size_t stream, int64_t ms) const {
  if (!newest_) return false;
  if (ms > *newest_ + kMaxDistanceMs) return true;
  const auto& last = last_[stream];
  return last ? ms < *last - kMaxStepBackMs : ms < *newest_ - kMaxDistanceMs;
}

}  // namespace NimboEngine

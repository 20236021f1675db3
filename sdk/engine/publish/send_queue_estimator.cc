#include "publish/send_queue_estimator.h"

namespace NimboEngine {

void SendQueueEstimator::add(std::size_t bytes, uint32_t milliseconds) {
  total_ += bytes;
  entries_.push_back({total_, milliseconds});
}

std::chrono::milliseconds SendQueueEstimator::playingTime(std::size_t bytes) {
  while (!entries_.empty() && entries_.front().end + bytes <= total_) entries_.pop_front();
  if (entries_.empty()) return std::chrono::milliseconds::zero();
  // Audio and video are interleaved, so the newest entry may be slightly older than its neighbour.
  const auto span = static_cast<int32_t>(entries_.back().time - entries_.front().time);
  return std::chrono::milliseconds(span > 0 ? span : 0);
}

}  // namespace NimboEngine

#include "play/retry_plan.h"

#include <algorithm>
#include <utility>

namespace NimboEngine {

std::optional<RetryPlan::Duration> RetryPlan::nextPause(Time now) {
  if (!lostSince_) {
    lostSince_ = now;
    pause_ = kFirstPause;
  }
  if (now - *lostSince_ >= kTimeout) return std::nullopt;
  return std::exchange(pause_, std::min(pause_ * 2, kLongestPause));
}

}  // namespace NimboEngine

#include "publish/backoff.h"

#include <algorithm>
#include <utility>

namespace NimboEngine {

Backoff::Backoff(const ReconnectPolicy& policy, RandomSource random)
    : policy_(policy), random_(std::move(random)) {}

std::optional<std::chrono::milliseconds> Backoff::next() {
  if (attempts_ >= policy_.maxAttempts) return std::nullopt;
  auto whole = std::min(policy_.firstDelay, policy_.maxDelay);
  for (int doubled = 0; doubled < attempts_ && whole < policy_.maxDelay; ++doubled) {
    whole = std::min(2 * whole, policy_.maxDelay);
  }
  ++attempts_;
  return std::chrono::duration_cast<std::chrono::milliseconds>(whole * (0.5 + random_() / 2));
}

}  // namespace NimboEngine

#include "publish/link_monitor.h"

#include <utility>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr auto kPoorWaiting = 1000ms;
constexpr auto kPoorTime = 500ms;
constexpr auto kGoodWaiting = 300ms;
constexpr auto kGoodTime = 2000ms;

}  // namespace

LinkMonitor::LinkMonitor(std::chrono::milliseconds sendTimeout, Now now)
    : sendTimeout_(sendTimeout), now_(std::move(now)) {}

void LinkMonitor::restart() {
  changing_.reset();
  progress_.reset();
  timedOut_ = false;
  dead_ = false;
}

std::vector<NetworkEvent> LinkMonitor::update(const LinkSample& sample) {
  std::vector<NetworkEvent> events;
  if (changesSide(sample)) {
    poor_ = !poor_;
    events.push_back(poor_ ? NetworkEvent::kNetworkPoor : NetworkEvent::kNetworkRecovery);
  }
  const Clock::duration stalled = stalledFor(sample);
  if (stalled < sendTimeout_) {
    timedOut_ = false;
  } else if (!std::exchange(timedOut_, true)) {
    events.push_back(NetworkEvent::kSendDataTimeout);
  }
  dead_ = stalled >= 2 * sendTimeout_;
  return events;
}

bool LinkMonitor::changesSide(const LinkSample& sample) {
  return poor_ ? hasHeld(sample.waiting <= kGoodWaiting, kGoodTime)
               : hasHeld(sample.waiting >= kPoorWaiting, kPoorTime);
}

// Returns whether `condition` has been true for `time` by now; if so, counting restarts.
bool LinkMonitor::hasHeld(bool condition, Clock::duration time) {
  if (!condition) {
    changing_.reset();
    return false;
  }
  if (!changing_) changing_ = now_();
  if (now_() - *changing_ < time) return false;
  changing_.reset();
  return true;
}

LinkMonitor::Clock::duration LinkMonitor::stalledFor(const LinkSample& sample) {
  if (!progress_ || sample.empty || sample.taken != taken_) progress_ = now_();
  taken_ = sample.taken;
  return now_() - *progress_;
}

}  // namespace NimboEngine

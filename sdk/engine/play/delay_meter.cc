#include "play/delay_meter.h"

#include <algorithm>
#include <utility>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

// No sender pauses for so long; its time stamps have been set anew.
constexpr DelayMeter::Duration kJump = 10s;
// Decoding order may take time stamps back a few pictures.
constexpr DelayMeter::Duration kReordering = 1s;
// What is forgotten of the shortest way: 1 ms a second. Clocks of computers drift a tenth of that.
constexpr int kForgetting = 1000;

}  // namespace

void DelayMeter::add(Time now, Duration timestamp) {
  const Time way = now - timestamp;
  if (last_) {
    const Duration step = timestamp - last_->timestamp;
    if (step > kJump || step < -kReordering) last_.reset();
  }
  if (!last_) {
    shortest_ = way;
    step_ = 0s;
  } else {
    const Duration step = timestamp - last_->timestamp;
    if (step > 0s) step_ = step;
    shortest_ = std::min(shortest_ + (now - last_->time) / kForgetting, way);
  }
  worst_ = std::max(worst_, now - dueTime(timestamp));
  last_ = {now, last_ ? std::max(timestamp, last_->timestamp) : timestamp};
}

std::chrono::milliseconds DelayMeter::takeWorst(Time now) {
  Duration worst = std::exchange(worst_, 0s);
  if (last_) worst = std::max(worst, now - dueTime(last_->timestamp + step_));
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::max(worst, Duration::zero()));
}

}  // namespace NimboEngine

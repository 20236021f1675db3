#include "publish/bitrate_control.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr auto kCongested = 600ms;
constexpr auto kClear = 200ms;
constexpr auto kCutInterval = 1s;
constexpr auto kClearTime = 3s;
constexpr double kCut = 0.7;
constexpr double kTimeoutCut = 0.5;
constexpr double kRise = 0.125;

}  // namespace

BitrateControl::BitrateControl(const BitrateLimits& limits, Now now)
    : limits_(limits), now_(std::move(now)), kbps_(0), lastCut_(now_() - kCutInterval) {
  change(limits_.controlled ? limits_.initial : limits_.target);
}

void BitrateControl::setLimits(int minimum, int target) {
  const bool wasAtTarget = kbps_ >= limits_.target;
  limits_.minimum = minimum;
  limits_.target = target;
  change(wasAtTarget || !limits_.controlled ? target : kbps_);
}

void BitrateControl::update(std::chrono::milliseconds waiting) {
  if (!limits_.controlled) return;
  const auto now = now_();
  if (waiting > kClear) {
    clearSince_.reset();
  } else if (!clearSince_) {
    clearSince_ = now;
  }
  if (waiting < kCongested) waitingAtCut_ = {};
  if (waiting >= kCongested && waiting >= waitingAtCut_ && now - lastCut_ >= kCutInterval) {
    lastCut_ = now;
    waitingAtCut_ = waiting;
    change(kbps_ * kCut);
  } else if (clearSince_ && now - *clearSince_ >= kClearTime && kbps_ < limits_.target) {
    clearSince_ = now;
    change(kbps_ + limits_.target * kRise);
  }
}

void BitrateControl::onSendTimeout() {
  if (limits_.controlled) change(kbps_ * kTimeoutCut);
}

void BitrateControl::onNewConnection() {
  waitingAtCut_ = {};
  clearSince_.reset();
}

void BitrateControl::change(double kbps) {
  const int lowest = std::min(limits_.minimum, limits_.target);
  kbps_ = std::clamp(static_cast<int>(std::lround(kbps)), lowest, limits_.target);
}

}  // namespace NimboEngine

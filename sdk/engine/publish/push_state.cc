#include "publish/push_state.h"

#include <utility>

namespace NimboEngine {
namespace {

using Phase = PushPhase;
using Input = PushInput;
using Report = PushReport;

struct Transition {
  Phase from;
  Input input;
  Phase to;
  Report report;
};

// A step to waiting uses one attempt; apply() handles the case that none is left.
constexpr Transition kTransitions[] = {
    {Phase::kIdle, Input::kStart, Phase::kConnecting, Report::kNone},
    {Phase::kIdle, Input::kStop, Phase::kIdle, Report::kStopped},
    {Phase::kConnecting, Input::kAccepted, Phase::kPublishing, Report::kStarted},
    {Phase::kConnecting, Input::kFailed, Phase::kIdle, Report::kConnectFailed},
    {Phase::kConnecting, Input::kDenied, Phase::kIdle, Report::kConnectFailed},
    {Phase::kConnecting, Input::kStop, Phase::kStopping, Report::kNone},
    {Phase::kConnecting, Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed},
    {Phase::kPublishing, Input::kFailed, Phase::kWaiting, Report::kReconnecting},
    {Phase::kPublishing, Input::kStop, Phase::kStopping, Report::kNone},
    {Phase::kPublishing, Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed},
    {Phase::kWaiting, Input::kRetryDue, Phase::kReconnecting, Report::kNone},
    {Phase::kWaiting, Input::kStop, Phase::kIdle, Report::kStopped},
    {Phase::kWaiting, Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed},
    {Phase::kReconnecting, Input::kAccepted, Phase::kResuming, Report::kNone},
    {Phase::kReconnecting, Input::kFailed, Phase::kWaiting, Report::kNone},
    {Phase::kReconnecting, Input::kDenied, Phase::kIdle, Report::kReconnectFailed},
    {Phase::kReconnecting, Input::kStop, Phase::kStopping, Report::kNone},
    {Phase::kReconnecting, Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed},
    {Phase::kResuming, Input::kMediaTaken, Phase::kPublishing, Report::kReconnected},
    {Phase::kResuming, Input::kFailed, Phase::kWaiting, Report::kNone},
    {Phase::kResuming, Input::kStop, Phase::kStopping, Report::kNone},
    {Phase::kResuming, Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed},
    {Phase::kStopping, Input::kDrained, Phase::kIdle, Report::kStopped},
    {Phase::kStopping, Input::kFailed, Phase::kIdle, Report::kStopped},
    {Phase::kStopping, Input::kDenied, Phase::kIdle, Report::kStopped},
    {Phase::kStopping, Input::kEncoderFailed, Phase::kIdle, Report::kStopped},
};

const Transition* find(Phase phase, Input input) {
  for (const Transition& transition : kTransitions) {
    if (transition.from == phase && transition.input == input) return &transition;
  }
  return nullptr;
}

}  // namespace

PushState::PushState(const ReconnectPolicy& policy, RandomSource random)
    : backoff_(policy, std::move(random)) {}

PushState::Step PushState::apply(PushInput input) {
  const Transition* transition = find(phase_, input);
  if (!transition) return {};
  Step step{.report = transition->report, .retryAfter = {}};
  const Phase before = std::exchange(phase_, transition->to);
  if (phase_ == Phase::kPublishing) backoff_.reset();
  if (phase_ != Phase::kWaiting) return step;
  step.retryAfter = backoff_.next();
  if (step.retryAfter) return step;
  phase_ = Phase::kIdle;
  return {
      .report = before == Phase::kPublishing ? Report::kConnectionLost : Report::kReconnectFailed,
      .retryAfter = {}};
}

}  // namespace NimboEngine

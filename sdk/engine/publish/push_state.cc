#include "publish/push_state.h"

namespace NimboEngine {
namespace {

struct Transition {
  PushPhase from;
  PushInput input;
  PushPhase to;
  PushReport report;
};

using Phase = PushPhase;
using Input = PushInput;
using Report = PushReport;

constexpr Transition kTransitions[] = {
    {Phase::kIdle, Input::kStart, Phase::kConnecting, Report::kNone},
    {Phase::kConnecting, Input::kAccepted, Phase::kPublishing, Report::kStarted},
    {Phase::kConnecting, Input::kFailed, Phase::kIdle, Report::kConnectFailed},
    {Phase::kConnecting, Input::kStop, Phase::kStopping, Report::kNone},
    {Phase::kPublishing, Input::kFailed, Phase::kIdle, Report::kConnectionLost},
    {Phase::kPublishing, Input::kStop, Phase::kStopping, Report::kNone},
    {Phase::kStopping, Input::kDrained, Phase::kIdle, Report::kStopped},
    {Phase::kStopping, Input::kFailed, Phase::kIdle, Report::kStopped},
    {Phase::kIdle, Input::kStop, Phase::kIdle, Report::kStopped},
    {Phase::kConnecting, Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed},
    {Phase::kPublishing, Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed},
    {Phase::kStopping, Input::kEncoderFailed, Phase::kIdle, Report::kStopped},
};

}  // namespace

PushReport PushState::apply(PushInput input) {
  for (const Transition& transition : kTransitions) {
    if (transition.from != phase_ || transition.input != input) continue;
    phase_ = transition.to;
    return transition.report;
  }
  return PushReport::kNone;
}

}  // namespace NimboEngine

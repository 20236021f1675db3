#include "publish/push_state.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace NimboEngine {
namespace {

using Phase = PushPhase;
using Input = PushInput;
using Report = PushReport;

constexpr Input kInputs[] = {Input::kStart, Input::kAccepted, Input::kFailed,
                             Input::kStop,  Input::kDrained,  Input::kEncoderFailed};

PushState after(std::initializer_list<Input> inputs) {
  PushState state;
  for (const Input input : inputs) state.apply(input);
  return state;
}

struct Step {
  Input input;
  Phase next;
  Report report;
};

// Each of `steps` from `state`; every other input must change and report nothing.
void expectSteps(const PushState& state, std::initializer_list<Step> steps) {
  for (const Input input : kInputs) {
    Step expected{input, state.phase(), Report::kNone};
    for (const Step& step : steps) {
      if (step.input == input) expected = step;
    }
    PushState copy = state;
    EXPECT_EQ(copy.apply(input), expected.report) << static_cast<int>(input);
    EXPECT_EQ(copy.phase(), expected.next) << static_cast<int>(input);
  }
}

TEST(PushState, Idle) {
  expectSteps(PushState(), {{Input::kStart, Phase::kConnecting, Report::kNone},
                            {Input::kStop, Phase::kIdle, Report::kStopped}});
}

TEST(PushState, Connecting) {
  expectSteps(after({Input::kStart}),
              {{Input::kAccepted, Phase::kPublishing, Report::kStarted},
               {Input::kFailed, Phase::kIdle, Report::kConnectFailed},
               {Input::kStop, Phase::kStopping, Report::kNone},
               {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, Publishing) {
  expectSteps(after({Input::kStart, Input::kAccepted}),
              {{Input::kFailed, Phase::kIdle, Report::kConnectionLost},
               {Input::kStop, Phase::kStopping, Report::kNone},
               {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, Stopping) {
  expectSteps(after({Input::kStart, Input::kAccepted, Input::kStop}),
              {{Input::kDrained, Phase::kIdle, Report::kStopped},
               {Input::kFailed, Phase::kIdle, Report::kStopped},
               {Input::kEncoderFailed, Phase::kIdle, Report::kStopped}});
}

TEST(PushState, StartsAgainAfterItsEnd) {
  for (const Input end : {Input::kFailed, Input::kEncoderFailed}) {
    PushState state = after({Input::kStart, Input::kAccepted, end});
    EXPECT_EQ(state.phase(), Phase::kIdle);
    state.apply(Input::kStart);
    EXPECT_EQ(state.phase(), Phase::kConnecting);
  }
}

}  // namespace
}  // namespace NimboEngine

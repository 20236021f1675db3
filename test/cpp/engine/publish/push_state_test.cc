#include "publish/push_state.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>
#include <tuple>
#include <vector>

namespace NimboEngine {

static std::ostream& operator<<(std::ostream& out, PushInput input) {
  constexpr const char* kNames[] = {"start",  "accepted", "media taken",
                                    "failed", "denied",   "retry due",
                                    "stop",   "drained",  "encoder failed"};
  return out << kNames[static_cast<int>(input)];
}

namespace {

using namespace std::chrono_literals;
using Phase = PushPhase;
using Input = PushInput;
using Report = PushReport;

constexpr Input kInputs[] = {Input::kStart,  Input::kAccepted, Input::kMediaTaken,
                             Input::kFailed, Input::kDenied,   Input::kRetryDue,
                             Input::kStop,   Input::kDrained,  Input::kEncoderFailed};

constexpr ReconnectPolicy kTwice{.maxAttempts = 2, .firstDelay = 100ms, .maxDelay = 1000ms};
constexpr ReconnectPolicy kNever{.maxAttempts = 0};

using Inputs = std::vector<Input>;

PushState after(const Inputs& inputs, const ReconnectPolicy& policy = kTwice) {
  PushState state(policy, [] { return 1.0; });
  for (const Input input : inputs) state.apply(input);
  return state;
}

Inputs operator+(Inputs first, const Inputs& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

const Inputs kPublishing{Input::kStart, Input::kAccepted};
const Inputs kWaiting = kPublishing + Inputs{Input::kFailed};
const Inputs kReconnecting = kWaiting + Inputs{Input::kRetryDue};
const Inputs kResuming = kReconnecting + Inputs{Input::kAccepted};
const Inputs kLastAttempt = kReconnecting + Inputs{Input::kFailed, Input::kRetryDue};

struct Arrow {
  Input input;
  Phase next;
  Report report;
  std::chrono::milliseconds retryAfter = 0ms;  // 0: none
};

// Each of `arrows` from `state`; every other input must change and report nothing.
void expectArrows(const PushState& state, std::initializer_list<Arrow> arrows) {
  for (const Input input : kInputs) {
    SCOPED_TRACE(testing::Message() << input);
    Arrow expected{input, state.phase(), Report::kNone};
    for (const Arrow& arrow : arrows) {
      if (arrow.input == input) expected = arrow;
    }
    PushState copy = state;
    const PushState::Step step = copy.apply(input);
    EXPECT_EQ(step.report, expected.report);
    EXPECT_EQ(copy.phase(), expected.next);
    EXPECT_EQ(step.retryAfter.value_or(0ms), expected.retryAfter);
  }
}

TEST(PushState, Idle) {
  expectArrows(after({}), {{Input::kStart, Phase::kConnecting, Report::kNone},
                           {Input::kStop, Phase::kIdle, Report::kStopped}});
}

TEST(PushState, Connecting) {
  expectArrows(after({Input::kStart}),
               {{Input::kAccepted, Phase::kPublishing, Report::kStarted},
                {Input::kFailed, Phase::kIdle, Report::kConnectFailed},
                {Input::kDenied, Phase::kIdle, Report::kConnectFailed},
                {Input::kStop, Phase::kStopping, Report::kNone},
                {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, Publishing) {
  expectArrows(after(kPublishing), {{Input::kFailed, Phase::kWaiting, Report::kReconnecting, 100ms},
                                    {Input::kStop, Phase::kStopping, Report::kNone},
                                    {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, PublishingWithoutReconnecting) {
  expectArrows(after(kPublishing, kNever),
               {{Input::kFailed, Phase::kIdle, Report::kConnectionLost},
                {Input::kStop, Phase::kStopping, Report::kNone},
                {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, Waiting) {
  expectArrows(after(kWaiting), {{Input::kRetryDue, Phase::kReconnecting, Report::kNone},
                                 {Input::kStop, Phase::kIdle, Report::kStopped},
                                 {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, Reconnecting) {
  expectArrows(after(kReconnecting),
               {{Input::kAccepted, Phase::kResuming, Report::kNone},
                {Input::kFailed, Phase::kWaiting, Report::kNone, 200ms},
                {Input::kDenied, Phase::kIdle, Report::kReconnectFailed},
                {Input::kStop, Phase::kStopping, Report::kNone},
                {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, ReconnectingForTheLastTime) {
  expectArrows(after(kLastAttempt),
               {{Input::kAccepted, Phase::kResuming, Report::kNone},
                {Input::kFailed, Phase::kIdle, Report::kReconnectFailed},
                {Input::kDenied, Phase::kIdle, Report::kReconnectFailed},
                {Input::kStop, Phase::kStopping, Report::kNone},
                {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, Resuming) {
  expectArrows(after(kResuming), {{Input::kMediaTaken, Phase::kPublishing, Report::kReconnected},
                                  {Input::kFailed, Phase::kWaiting, Report::kNone, 200ms},
                                  {Input::kStop, Phase::kStopping, Report::kNone},
                                  {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, ResumingForTheLastTime) {
  expectArrows(after(kLastAttempt + Inputs{Input::kAccepted}),
               {{Input::kMediaTaken, Phase::kPublishing, Report::kReconnected},
                {Input::kFailed, Phase::kIdle, Report::kReconnectFailed},
                {Input::kStop, Phase::kStopping, Report::kNone},
                {Input::kEncoderFailed, Phase::kIdle, Report::kEncoderFailed}});
}

TEST(PushState, Stopping) {
  for (const Inputs& way : {kPublishing, kReconnecting, kResuming}) {
    expectArrows(after(way + Inputs{Input::kStop}),
                 {{Input::kDrained, Phase::kIdle, Report::kStopped},
                  {Input::kFailed, Phase::kIdle, Report::kStopped},
                  {Input::kDenied, Phase::kIdle, Report::kStopped},
                  {Input::kEncoderFailed, Phase::kIdle, Report::kStopped}});
  }
}

TEST(PushState, EachLossHasAllItsAttempts) {
  PushState state = after(kLastAttempt + Inputs{Input::kAccepted});
  EXPECT_EQ(state.attempts(), 2);
  state.apply(Input::kMediaTaken);
  EXPECT_EQ(state.attempts(), 0);
  EXPECT_EQ(state.apply(Input::kFailed).retryAfter, 100ms);
}

TEST(PushState, StartsAgainAfterItsEnd) {
  for (const Inputs& end :
       {kPublishing + Inputs{Input::kEncoderFailed}, kLastAttempt + Inputs{Input::kFailed},
        kWaiting + Inputs{Input::kStop}}) {
    PushState state = after(end);
    EXPECT_EQ(state.phase(), Phase::kIdle);
    state.apply(Input::kStart);
    EXPECT_EQ(state.phase(), Phase::kConnecting);
  }
}

TEST(PushState, KnowsWhichReportsEndAPush) {
  for (const Report report :
       {Report::kNone, Report::kStarted, Report::kReconnecting, Report::kReconnected}) {
    EXPECT_FALSE(endsPush(report));
  }
  for (const Report report : {Report::kConnectFailed, Report::kReconnectFailed,
                              Report::kConnectionLost, Report::kStopped, Report::kEncoderFailed}) {
    EXPECT_TRUE(endsPush(report));
  }
}

}  // namespace
}  // namespace NimboEngine

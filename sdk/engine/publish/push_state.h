// The state machine of one push through all its connections, without access to media or network:
// the table of docs/network.md.
//
// Inputs that are not in the table change nothing and report nothing: a late "accepted" after a
// stop, for example. A stop in idle is reported because it may cross a failure: each accepted stop
// is confirmed once.
//
// Thread: one at a time; the engine thread in practice.

#pragma once

#include <chrono>
#include <optional>

#include "publish/backoff.h"

namespace NimboEngine {

enum class PushPhase {
  kIdle,
  kConnecting,    // the first connection
  kPublishing,    // media are sent
  kWaiting,       // the connection is lost, the next attempt is not yet due
  kReconnecting,  // an attempt is in progress
  kResuming,      // the server has accepted again but has not yet acknowledged a frame
  kStopping
};

enum class PushInput {
  kStart,
  kAccepted,
  kMediaTaken,
  kFailed,
  kDenied,
  kRetryDue,
  kStop,
  kDrained,
  kEncoderFailed
};

enum class PushReport {
  kNone,
  kStarted,
  kConnectFailed,
  kReconnecting,
  kReconnected,
  kReconnectFailed,
  kConnectionLost,
  kStopped,
  kEncoderFailed
};

// Returns whether `report` ends the push.
constexpr bool endsPush(PushReport report) {
  return report != PushReport::kNone && report != PushReport::kStarted &&
         report != PushReport::kReconnecting && report != PushReport::kReconnected;
}

class PushState {
 public:
  struct Step {
    PushReport report = PushReport::kNone;
    std::optional<std::chrono::milliseconds> retryAfter;  // set if the new phase is kWaiting
  };

  PushState(const ReconnectPolicy& policy, RandomSource random);

  PushPhase phase() const { return phase_; }

  // Reconnection attempts since the connection was lost.
  int attempts() const { return backoff_.attempts(); }

  Step apply(PushInput input);

 private:
  PushPhase phase_ = PushPhase::kIdle;
  Backoff backoff_;
};

}  // namespace NimboEngine

// The states of one push through all its connections, without any media or network: the table of
// docs/network.md.
//
// Whatever is not in the table changes nothing and reports nothing: a late "accepted" after a
// stop, for example. A stop in idle is reported because it may cross a failure on its way: each
// stop that was taken is answered once.
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
  kPublishing,    // media flow
  kWaiting,       // the connection is lost, the next attempt is not yet due
  kReconnecting,  // an attempt is under way
  kResuming,      // the server has accepted again but has not yet taken a picture
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

// Whether a push is over with `report`.
constexpr bool endsPush(PushReport report) {
  return report != PushReport::kNone && report != PushReport::kStarted &&
         report != PushReport::kReconnecting && report != PushReport::kReconnected;
}

class PushState {
 public:
  struct Step {
    PushReport report = PushReport::kNone;
    std::optional<std::chrono::milliseconds> retryAfter;  // when the phase is kWaiting from now on
  };

  PushState(const ReconnectPolicy& policy, RandomSource random);

  PushPhase phase() const { return phase_; }

  // Attempts to connect again since the connection was lost.
  int attempts() const { return backoff_.attempts(); }

  Step apply(PushInput input);

 private:
  PushPhase phase_ = PushPhase::kIdle;
  Backoff backoff_;
};

}  // namespace NimboEngine

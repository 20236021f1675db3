// The states of one push, without any media or network.
//
//   state       input           next        report
//   ----------  --------------  ----------  ----------------
//   idle        start           connecting
//   connecting  accepted        publishing  started
//   connecting  failed          idle        connect failed
//   connecting  stop            stopping
//   publishing  failed          idle        connection lost
//   publishing  stop            stopping
//   stopping    drained         idle        stopped
//   stopping    failed          idle        stopped
//   idle        stop            idle        stopped
//   not idle    encoder failed  idle        encoder failed
//
// Whatever is not in the table changes nothing and reports nothing: a late "accepted" after a
// stop, for example. A stop in idle is reported because it may cross a failure on its way: each
// stop that was taken is answered once.
//
// Thread: one at a time; the engine thread in practice.

#pragma once

namespace NimboEngine {

enum class PushPhase { kIdle, kConnecting, kPublishing, kStopping };
enum class PushInput { kStart, kAccepted, kFailed, kStop, kDrained, kEncoderFailed };
enum class PushReport {
  kNone,
  kStarted,
  kConnectFailed,
  kConnectionLost,
  kStopped,
  kEncoderFailed
};

class PushState {
 public:
  PushPhase phase() const { return phase_; }

  // Applies `input` and returns what is to be reported.
  PushReport apply(PushInput input);

 private:
  PushPhase phase_ = PushPhase::kIdle;
};

}  // namespace NimboEngine

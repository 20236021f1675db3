// One push: an encoder, which lasts for the whole push, its successive connections, and the states
// between them (see push_state.h and docs/network.md).
//
// Thread: start, stop and destruction on the engine thread, where the events are raised too; the
//   consumer's side on the capture threads.
// Ownership: owns encoder and connection. Remove it from the capture session before destroying it;
//   destruction closes everything immediately and raises no events.
// Failure: reported as a PushOutcome. After one that ends the push (see push_state.h) the object
//   may only be destroyed, which must not happen inside the event.

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "NimboSdk/LumoLiveResult.h"
#include "base/engine_thread.h"
#include "base/weak_owner_guard.h"
#include "media/frame_consumer.h"
#include "publish/bitrate_control.h"
#include "publish/connection.h"
#include "publish/connection_output.h"
#include "publish/encoder.h"
#include "publish/link_monitor.h"
#include "publish/network_event.h"
#include "publish/network_settings.h"
#include "publish/push_state.h"
#include "publish/push_url.h"

namespace NimboEngine {

// A state change of a push. `code` and `message` explain failures.
struct PushOutcome {
  PushReport report = PushReport::kNone;
  LumoRtc::LumoLiveErrorCode code = LumoRtc::kLumoLiveErrorNone;
  std::string message;
};

class Publisher final : public FrameConsumer {
 public:
  struct Events {
    std::function<void(const PushOutcome&)> onReport;
    // The first key frame was sent after the server had accepted; once for a push.
    std::function<void()> onFirstFrame;
    std::function<void(NetworkEvent)> onNetworkEvent;
  };

  Publisher(EngineThread& engine, const EncoderSettings& encoder, const NetworkSettings& network,
            Events events);
  ~Publisher();

  // Both may be called once at most. A stop is confirmed by an event within half a second.
  void start(const PushUrl& url);
  void stop();

  // Applies another video format, other bit rates and another key-frame interval while it runs.
  void change(const EncoderSettings& settings);

  PushPhase phase() const {
    engine_.assertCurrent();
    return state_.phase();
  }

  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) override;
  void onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) override;

 private:
  ConnectionOutput::Events outputEvents();
  Encoder::Events encoderEvents();
  void apply(PushInput input, LumoRtc::LumoLiveErrorCode code = {}, std::string message = {})
      NIMBO_REQUIRES(engine_);
  void applyOnEngine(PushInput input);
  void entered(PushPhase before, const PushState::Step& step) NIMBO_REQUIRES(engine_);
  bool startEncoder() NIMBO_REQUIRES(engine_);
  void connect() NIMBO_REQUIRES(engine_);
  void onConnectionFailed(LumoRtc::LumoLiveErrorCode code, const std::string& message)
      NIMBO_REQUIRES(engine_);
  void beginSending() NIMBO_REQUIRES(engine_);
  void watchLink(const Connection* connection) NIMBO_REQUIRES(engine_);
  void applyBitrate() NIMBO_REQUIRES(engine_);
  void notifyOverdue() NIMBO_REQUIRES(engine_);
  void finishConnection() NIMBO_REQUIRES(engine_);
  void closeConnection() NIMBO_REQUIRES(engine_);

  EngineThread& engine_;
  const Events events_;
  const WeakOwnerGuard ownerGuard_;
  PushState state_ NIMBO_GUARDED_BY(engine_);
  LinkMonitor link_ NIMBO_GUARDED_BY(engine_);
  BitrateControl bitrate_ NIMBO_GUARDED_BY(engine_);
  VideoFormat format_ NIMBO_GUARDED_BY(engine_);
  PushUrl url_ NIMBO_GUARDED_BY(engine_);
  bool notifiedFirstFrame_ NIMBO_GUARDED_BY(engine_) = false;
  bool notifiedOverdue_ NIMBO_GUARDED_BY(engine_) = false;
  std::unique_ptr<Connection> connection_ NIMBO_GUARDED_BY(engine_);
  ConnectionOutput output_;
  int appliedKbps_ NIMBO_GUARDED_BY(engine_) = 0;
  Encoder encoder_;  // destroyed first: its threads use the output
};

}  // namespace NimboEngine

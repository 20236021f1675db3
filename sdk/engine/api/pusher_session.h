// What a pusher does, once its calls have been checked: capture, preview and push, and the events
// that tell of them. Capture runs while preview or push does.
//
// Thread: everything on the engine thread; destruction too.
// Ownership: owns capture, preview and push; the engine thread, the selection of devices and the
//   listeners are given and outlive it. Destruction ends all at once, without events.
// Failure: arrives as events.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "api/preview.h"
#include "api/push_parameters.h"
#include "api/pusher_listeners.h"
#include "api/settings.h"
#include "api/volume_indicator.h"
#include "base/engine_thread.h"
#include "base/weak_owner_guard.h"
#include "capture/capture_session.h"
#include "devices/device_selection.h"
#include "mix/live_mixer.h"
#include "publish/publisher.h"
#include "publish/push_url.h"

namespace NimboEngine {

// A push that was asked for. `number` tells it from those before and after.
struct PushRequest {
  uint32_t number = 0;
  PushUrl url;
};

class PusherSession {
 public:
  // `onPushOver(number)` comes before the events of a push that ended without having been stopped.
  PusherSession(EngineThread& engine, Settings settings, DeviceSelection& devices,
                PusherListeners& listeners, std::function<void(uint32_t)> onPushOver);
  ~PusherSession();
  PusherSession(const PusherSession&) = delete;
  PusherSession& operator=(const PusherSession&) = delete;

  // To be called before anything is started, and while nothing is wanted to run.
  void configure(const PushParameters& parameters);

  // Takes effect at once where something runs.
  void changeEncoder(const EncoderSettings& settings);

  // `window` is an X11 window's identifier.
  void startPreview(std::optional<uint32_t> window);
  void stopPreview();

  // A push that is asked for while its predecessor is still stopping begins when that is through.
  void startPush(PushRequest request);
  void stopPush();

  void setMuted(bool muted);
  void startVolumeReports(const VolumeSettings& settings) { volume_.start(settings); }
  void stopVolumeReports() { volume_.stop(); }
  void setCameraMuted(bool muted);
  void setCameraRunning(bool running);

  // Takes up what has changed in the selection of devices.
  void useDevices();

  // A screen (capture/screen/screen_sources.h) is shared until it is stopped, also while nothing
  // captures, and whatever becomes of it.
  void shareScreen(uint32_t id);
  void stopScreen();
  void setScreenPaused(bool paused);

  // How a shared screen is captured and encoded, from now on; its sound as ever.
  void setScreenEncoder(const EncoderSettings& encoder);

  // Published is a mix, from now on and in later pushes. None: what is captured. Either is answered
  // by an event, as is a mix that was refused.
  void setMix(std::optional<MixLayout> layout);
  void refuseMix(const std::string& reason);

 private:
  void startCapture();
  void stopCaptureIfUnused();
  void captureScreen();
  void watchDevices();
  void watchOpening();
  void sourceFailed(DeviceKind kind, const std::string& id, const std::string& message);
  bool replaceDevice(DeviceKind kind, const std::string& id, DeviceSelection::Cause cause,
                     const std::string& message);
  EncoderSettings wantedEncoder() const;
  void applyEncoder();
  void onNetworkEvent(NetworkEvent event);
  void beginPush(const PushRequest& request);
  void onPushReport(const PushOutcome& outcome);
  void notify(const PushOutcome& outcome);
  std::unique_ptr<Publisher> takePublisher();
  void reportMissingElements();

  EngineThread& engine_;
  const Settings settings_;
  DeviceSelection& devices_;
  PusherListeners& listeners_;
  const std::function<void(uint32_t)> onPushOver_;

  PushParameters parameters_;
  VolumeIndicator volume_;
  bool muted_ = false;
  bool cameraMuted_ = false;
  bool cameraRunning_ = true;
  std::optional<uint32_t> screen_;
  bool screenPaused_ = false;
  std::optional<EncoderSettings> screenEncoder_;  // none: as the camera is

  std::optional<MixLayout> mix_;

  uint32_t pushNumber_ = 0;
  std::optional<PushRequest> nextPush_;

  std::unique_ptr<Publisher> publisher_;
  std::unique_ptr<LiveMixer> mixer_;  // in front of the publisher, as long as there is one
  std::unique_ptr<CaptureSession> capture_;
  std::unique_ptr<Preview> preview_;
  std::unique_ptr<UnplugWatch> unplugWatch_;
  WeakOwnerGuard ownerGuard_;
};

}  // namespace NimboEngine

// Carries out a pusher's operations after their validation: capture, preview and push, and their
// events. Capture runs while preview or push does.
//
// Thread: everything on the engine thread; destruction too.
// Ownership: owns capture, preview and push; the engine thread, the selection of devices and the
//   listeners are given and outlive it. Destruction stops everything immediately, without events.
// Failure: reported as events.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "api/preview.h"
#include "api/push_parameters.h"
#include "api/pusher_listeners.h"
#include "api/settings.h"
#include "api/volume_indicator.h"
#include "base/engine_thread.h"
#include "base/weak_owner_guard.h"
#include "capture/capture_session.h"
#include "devices/device_selection.h"
#include "gst/runtime.h"
#include "mix/live_mixer.h"
#include "publish/publisher.h"
#include "publish/push_url.h"

namespace NimboEngine {

// A requested push. `number` distinguishes it from those before and after.
struct PushRequest {
  uint32_t number = 0;
  PushUrl url;
};

class PusherSession {
 public:
  // `onPushOver(number)` is called before the events of a push that ended without having been
  // stopped.
  PusherSession(EngineThread& engine, Settings settings, DeviceSelection& devices,
                PusherListeners& listeners, std::function<void(uint32_t)> onPushOver);
  ~PusherSession();
  PusherSession(const PusherSession&) = delete;
  PusherSession& operator=(const PusherSession&) = delete;

  // To be called before anything is started, and while neither preview nor push is requested.
  void configure(const PushParameters& parameters);

  // Takes effect immediately on running media.
  void changeEncoder(const EncoderSettings& settings);

  void startPreview(std::optional<NativeWindow> window);
  void stopPreview();

  // A push requested while its predecessor is still stopping starts when that has stopped.
  void startPush(PushRequest request);
  void stopPush();

  void setMuted(bool muted);
  void startVolumeReports(const VolumeSettings& settings) { volume_.start(settings); }
  void stopVolumeReports() { volume_.stop(); }
  void setCameraMuted(bool muted);
  void setCameraRunning(bool running);

  // Applies changes in the device selection.
  void useDevices();

  // A screen is shared until it is stopped, even while capture
  // does not run or the screen is lost.
  void shareScreen(ScreenId id);
  void stopScreen();
  void setScreenPaused(bool paused);

  // Sets how a shared screen is captured and encoded, from now on; audio is unchanged.
  void setScreenEncoder(const EncoderSettings& encoder);

  // Publishes a mix, from now on and in later pushes. None: the captured media. Either is confirmed
  // by an event, as is a refused mix.
  void setMix(std::optional<MixLayout> layout);
  void refuseMix(const std::string& reason);

 private:
  void startCapture();
  void stopCaptureIfUnused();
  void captureScreen();
  void watchDevices();
  void watchOpening();
  void sourceFailed(DeviceKind kind, const DeviceId& id, const std::string& message);
  bool replaceDevice(DeviceKind kind, const DeviceId& id, DeviceSelection::Cause cause,
                     const std::string& message);
  EncoderSettings wantedEncoder() const;
  void applyEncoder();
  void onNetworkEvent(NetworkEvent event);
  void beginPush(const PushRequest& request);
  void onPushReport(const PushOutcome& outcome);
  void notify(const PushOutcome& outcome);
  std::unique_ptr<Publisher> takePublisher();
  Result<void, LumoRtc::LumoLiveErrorCode> checkSystem(std::vector<Feature> features) const;

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
  std::optional<ScreenId> screen_;
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

// Implements the interface's pusher: each operation checks its arguments and the state, posts the
// work to the engine thread and returns at once.
//
// Thread: operations on one thread at a time, never from a listener's callback.
// Ownership: owns the engine thread and everything on it. Destruction detaches the listeners, stops
//   everything and waits; no callback follows.
// Failure: operations return a LumoLiveResult; later failures arrive as events.

#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoLiveResult.h"
#include "api/device_list.h"
#include "api/pusher_listeners.h"
#include "api/pusher_session.h"
#include "api/settings.h"
#include "base/engine_thread.h"

namespace NimboEngine {

class LivePusher final : public LumoRtc::LumoLivePusher {
 public:
  explicit LivePusher(const Settings& settings);
  ~LivePusher();
  LivePusher(const LivePusher&) = delete;
  LivePusher& operator=(const LivePusher&) = delete;

  int init(LumoRtc::LumoLivePushConfig config) override;
  void setPushErrorListener(LumoRtc::LumoLivePushErrorListener* listener) override;
  void setPushInfoListener(LumoRtc::LumoLivePushInfoListener* listener) override;
  void setVideoFrameListener(LumoRtc::LumoLiveVideoFrameListener* listener) override;
  void setPushNetworkListener(LumoRtc::LumoLivePushNetworkListener* listener) override;

  int startPreview(void* view, uint32_t width, uint32_t height) override;
  int startPreviewAsync(void* view, uint32_t width, uint32_t height) override;
  int stopPreview() override;
  int startPush(const char* url) override;
  int startPushAsync(const char* url) override;
  int stopPush() override;
  int startCamera() override;
  int stopCamera() override;
  // `mode` makes no difference here: the captured audio becomes silent in every mode. Players in a
  // mix stay audible.
  int setMute(bool mute, uint32_t mode) override;
  int muteLocalCamera(bool mute) override;

  LumoRtc::LumoLiveDeviceList* getAudioCaptureList() override;
  LumoRtc::String getCurrentAudioCaptureName() override;
  LumoRtc::String getCurrentAudioCaptureID() override;
  int setCurrentAudioCaptureName(const char* name) override;
  int setCurrentAudioCaptureID(const char* id) override;
  LumoRtc::LumoLiveDeviceList* getCameraList() override;
  LumoRtc::String getCurrentCameraName() override;
  LumoRtc::String getCurrentCameraID() override;
  int setCurrentCameraName(const char* name) override;
  int setCurrentCameraID(const char* id) override;

  int enableAudioVolumeIndication(int32_t interval, int32_t smooth, int32_t reportVad) override;
  int setTargetVideoBitrate(int32_t kbps) override;
  int setMinVideoBitrate(int32_t kbps) override;
  int setResolution(uint32_t resolution, int32_t width, int32_t height) override;
  int setFps(uint32_t fps) override;
  int setLiveMixTranscodingConfig(const LumoRtc::LumoLiveTranscodingConfig* config) override;
  int startScreenShareByDesktopId(uint32_t sourceId) override;
  int setScreenShareEncoderConfiguration(
      const LumoRtc::LumoLiveScreenShareEncoderConfig* config) override;
  LumoRtc::LumoLiveScreenShareEncoderConfig getScreenShareEncoderConfiguration() override;
  int switchScreenToCamera() override;
  int pauseScreenShare() override;
  int resumeScreenShare() override;
  LumoRtc::LumoLiveScreenSourceList* getScreenShareSourceInfo() override;
  uint32_t getCurrentScreenShareSourceId() override;

 private:
  using SessionTask = std::function<void(PusherSession&)>;

  // Posts `task` to the engine thread, or returns why it cannot.
  LumoRtc::LumoLiveResult submit(SessionTask task);
  LumoRtc::LumoLiveResult submitWhileSharing(SessionTask task, uint32_t sharedAfterwards);
  void post(SessionTask task);
  // Takes over the parameters and posts them to the engine thread, or returns why it cannot.
  // `changed` is the result of one of the changes in push_parameters.h.
  LumoRtc::LumoLiveResult change(const Result<PushParameters>& changed);
  template <class Key>
  using ChooseDevice = bool (DeviceSelection::*)(DeviceKind, const Key&);
  template <class Key>
  LumoRtc::LumoLiveResult choose(ChooseDevice<Key> how, DeviceKind kind, const char* text);

  const Settings settings_;
  DeviceSelection devices_;
  bool initialized_ = false;
  PushParameters parameters_;  // once initialised
  bool previewing_ = false;
  uint32_t lastPush_ = 0;
  std::atomic<uint32_t> push_{0};  // the requested push; the engine clears it when it fails
  DeviceList cameras_;
  DeviceList microphones_;
  uint32_t sharedScreen_ = 0;  // 0: none
  LumoRtc::LumoLiveScreenShareEncoderConfig screenConfig_{};

  PusherListeners listeners_;
  std::unique_ptr<PusherSession> session_;  // made, used and destroyed on the engine thread
  EngineThread engine_;
};

}  // namespace NimboEngine

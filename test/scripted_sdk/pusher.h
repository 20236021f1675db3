// A pusher that records its calls and answers as told.
//
// Thread: any.
// Failure: none.

#pragma once

#include "NimboSdk/LumoLivePusher.h"
#include "scripted_sdk/call.h"
#include "scripted_sdk/listener_slot.h"
#include "scripted_sdk/lists.h"

namespace ScriptedSdk {

class Pusher final : public LumoRtc::LumoLivePusher {
 public:
  using Interface = LumoRtc::LumoLivePusher;
  static constexpr const char* kArgument = "pusher";

  // Detaches the listeners and waits for their running callbacks.
  void end();

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

  ListenerSlot<LumoRtc::LumoLivePushErrorListener> errorListener;
  ListenerSlot<LumoRtc::LumoLivePushInfoListener> infoListener;
  ListenerSlot<LumoRtc::LumoLiveVideoFrameListener> frameListener;
  ListenerSlot<LumoRtc::LumoLivePushNetworkListener> networkListener;

 private:
  Call call(const char* name, Json args = Json::object()) const;
  LumoRtc::LumoLiveDeviceList* deviceList(Call call, DeviceList& list);

  DeviceList audioCaptureList_;
  DeviceList cameraList_;
};

}  // namespace ScriptedSdk

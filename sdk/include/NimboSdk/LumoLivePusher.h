// The publishing side of the SDK: one pusher, its operations and the listeners it reports to.
//
// Listeners are called on threads of the SDK's own, possibly several at once; they must return
// soon and must not call back into the pusher's setters of listeners. Setting a listener to null,
// and destroying the pusher, return only when no callback of that listener is running and none
// will run any more.

#pragma once

#include <cstdint>

#include "NimboSdk/LumoLiveDefine.h"
#include "NimboSdk/LumoRtcExport.h"

namespace LumoRtc {

class LumoLivePlayer;
class LumoLivePusher;

// ---------------------------------------------------------------------------------- listeners

class LumoLivePushErrorListener {
 public:
  virtual ~LumoLivePushErrorListener() = default;
  // An error of the system: a device, a file, memory.
  virtual void onSystemError(LumoLivePusher* pusher, LumoLivePushError error) = 0;
  // An operation of the SDK failed.
  virtual void onSDKError(LumoLivePusher* pusher, LumoLivePushError error) = 0;
};

class LumoLivePushInfoListener {
 public:
  virtual ~LumoLivePushInfoListener() = default;
  virtual void onPreviewStarted(LumoLivePusher* pusher) = 0;
  virtual void onPreviewStopped(LumoLivePusher* pusher) = 0;
  // The server has accepted the stream.
  virtual void onPushStarted(LumoLivePusher* pusher) = 0;
  virtual void onPushStopped(LumoLivePusher* pusher) = 0;
  virtual void onFirstFramePushed(LumoLivePusher* pusher) = 0;
  // `volumes` points at `count` records, valid during the call; the first is the local user's.
  virtual void onAudioVolumeCallback(const LumoLiveUserVolumeInfo* volumes, int count,
                                     int totalVolume) = 0;
  virtual void onActiveSpeaker(LumoLivePusher* pusher) = 0;
  // The result of setting a mix layout; `message` describes the error.
  virtual void onSetLiveMixTranscodingConfig(LumoLivePusher* pusher, bool isSuccess,
                                             String message) = 0;
};

class LumoLivePushNetworkListener {
 public:
  virtual void onNetworkPoor(LumoLivePusher* pusher) = 0;
  virtual void onNetworkRecovery(LumoLivePusher* pusher) = 0;
  virtual void onReconnectStart(LumoLivePusher* pusher) = 0;
  virtual void onConnectionLost(LumoLivePusher* pusher) = 0;
  virtual void onReconnectFail(LumoLivePusher* pusher) = 0;
  virtual void onReconnectSucceed(LumoLivePusher* pusher) = 0;
  virtual void onSendDataTimeout(LumoLivePusher* pusher) = 0;
  virtual void onConnectFail(LumoLivePusher* pusher) = 0;
  virtual void onPushURLAuthenticationOverdue(LumoLivePusher* pusher) = 0;
  virtual void onSendMessage(LumoLivePusher* pusher) = 0;
  virtual void onPacketsLost(LumoLivePusher* pusher) = 0;

 protected:
  ~LumoLivePushNetworkListener() = default;
};

// Both operations are called on the thread that carries the frame, before it is passed to the
// encoder or the view. Pixels changed in place are previewed, published and shown. The result is
// whether they were changed.
class LumoLiveVideoFrameListener {
 public:
  virtual bool onCaptureVideoSample(LumoLivePusher* pusher, LumoLiveVideoSource source,
                                    LumoLiveVideoRawData& frame) = 0;
  virtual bool onRemoteVideoSample(LumoLivePlayer* player, LumoLiveVideoSource source,
                                   LumoLiveVideoRawData& frame) = 0;

 protected:
  ~LumoLiveVideoFrameListener() = default;
};

// -------------------------------------------------------------------------------------- lists

// Owned by the SDK and never freed by the caller. Repeated queries of one index return the same
// record until the list is requested again.
class LumoLiveDeviceList {
 public:
  virtual uint32_t getCount() = 0;
  virtual LumoLiveDeviceInfo getDevice(uint32_t index) = 0;

 protected:
  ~LumoLiveDeviceList() = default;
};

// Owned by the caller, who must call release() once.
class LumoLiveScreenSourceList {
 public:
  virtual uint32_t getCount() = 0;
  virtual LumoLiveScreenSourceInfo getSource(uint32_t index) = 0;
  virtual void release() = 0;

 protected:
  ~LumoLiveScreenSourceList() = default;
};

// ------------------------------------------------------------------------------------- pusher

// Thread: the operations are called from one thread at a time; none of them blocks it for longer
// than a few milliseconds. An int result is 0 when the request was taken, otherwise an error
// code; what then became of the request arrives through the listeners.
// Ownership: texts and records passed in are copied; a view handle must stay valid until the
// preview stops.
class LumoLivePusher {
 public:
  // Creates the process's one pusher. `extraConfig` is a JSON text, "" for defaults. Null when the
  // text cannot be used or a pusher already lives.
  LUMO_RTC_EXPORT static LumoLivePusher* Create(const char* extraConfig);

  // Stops everything and destroys the pusher; waits for running callbacks. Does nothing if there is
  // none.
  LUMO_RTC_EXPORT static void destroy();

  virtual int init(LumoLivePushConfig config) = 0;

  virtual void setPushErrorListener(LumoLivePushErrorListener* listener) = 0;
  virtual void setPushInfoListener(LumoLivePushInfoListener* listener) = 0;
  virtual void setVideoFrameListener(LumoLiveVideoFrameListener* listener) = 0;
  virtual void setPushNetworkListener(LumoLivePushNetworkListener* listener) = 0;

  // `view` points at the bytes of a native window handle, read during the call; null previews
  // without a window. On X11 the handle is a 32-bit window identifier in host byte order.
  virtual int startPreview(void* view, uint32_t width, uint32_t height) = 0;
  virtual int startPreviewAsync(void* view, uint32_t width, uint32_t height) = 0;
  virtual int stopPreview() = 0;
  virtual int startPush(const char* url) = 0;
  virtual int startPushAsync(const char* url) = 0;
  virtual int stopPush() = 0;

  virtual int startCamera() = 0;
  virtual int stopCamera() = 0;
  virtual int setMute(bool mute, uint32_t mode) = 0;
  virtual int muteLocalCamera(bool mute) = 0;

  virtual LumoLiveDeviceList* getAudioCaptureList() = 0;  // may be null
  virtual String getCurrentAudioCaptureName() = 0;
  virtual String getCurrentAudioCaptureID() = 0;
  virtual int setCurrentAudioCaptureName(const char* name) = 0;
  virtual int setCurrentAudioCaptureID(const char* id) = 0;
  virtual LumoLiveDeviceList* getCameraList() = 0;  // never null
  virtual String getCurrentCameraName() = 0;
  virtual String getCurrentCameraID() = 0;
  virtual int setCurrentCameraName(const char* name) = 0;
  virtual int setCurrentCameraID(const char* id) = 0;

  // `interval` in ms, 0 or less switches the reports off; `smooth` is a smoothing factor from 0
  // (none) to 10; `reportVad` other than 0 reports voice activity too.
  virtual int enableAudioVolumeIndication(int32_t interval, int32_t smooth, int32_t reportVad) = 0;
  virtual int setTargetVideoBitrate(int32_t kbps) = 0;
  virtual int setMinVideoBitrate(int32_t kbps) = 0;
  virtual int setResolution(uint32_t resolution, int32_t width, int32_t height) = 0;
  virtual int setFps(uint32_t fps) = 0;

  // Null ends the mix. The layout is copied.
  virtual int setLiveMixTranscodingConfig(const LumoLiveTranscodingConfig* config) = 0;

  virtual int startScreenShareByDesktopId(uint32_t sourceId) = 0;
  virtual int setScreenShareEncoderConfiguration(
      const LumoLiveScreenShareEncoderConfig* config) = 0;
  virtual LumoLiveScreenShareEncoderConfig getScreenShareEncoderConfiguration() = 0;
  virtual int switchScreenToCamera() = 0;
  virtual int pauseScreenShare() = 0;
  virtual int resumeScreenShare() = 0;
  virtual LumoLiveScreenSourceList* getScreenShareSourceInfo() = 0;  // may be null
  virtual uint32_t getCurrentScreenShareSourceId() = 0;

 protected:
  ~LumoLivePusher() = default;
};

}  // namespace LumoRtc

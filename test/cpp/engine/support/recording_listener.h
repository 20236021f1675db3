// All listeners of a pusher in one: records each event, and counts the frames.
//
// Thread: any. Detach it before destroying it.

#pragma once

#include <atomic>
#include <functional>
#include <span>
#include <string>

#include "NimboSdk/LumoLivePusher.h"
#include "support/event_log.h"

namespace NimboEngine::test {

class RecordingListener final : public LumoRtc::LumoLivePushErrorListener,
                                public LumoRtc::LumoLivePushInfoListener,
                                public LumoRtc::LumoLivePushNetworkListener,
                                public LumoRtc::LumoLiveVideoFrameListener {
  using Pusher = LumoRtc::LumoLivePusher;

 public:
  void attachTo(Pusher* pusher) {
    pusher->setPushErrorListener(this);
    pusher->setPushInfoListener(this);
    pusher->setVideoFrameListener(this);
    pusher->setPushNetworkListener(this);
  }

  static void detachFrom(Pusher* pusher) {
    pusher->setPushErrorListener(nullptr);
    pusher->setPushInfoListener(nullptr);
    pusher->setVideoFrameListener(nullptr);
    pusher->setPushNetworkListener(nullptr);
  }

  void onSystemError(Pusher*, LumoRtc::LumoLivePushError error) override {
    events.add("system error " + std::to_string(error.code));
  }
  void onSDKError(Pusher*, LumoRtc::LumoLivePushError error) override {
    events.add("SDK error " + std::to_string(error.code));
  }
  void onPreviewStarted(Pusher*) override { events.add("preview started"); }
  void onPreviewStopped(Pusher*) override { events.add("preview stopped"); }
  void onPushStarted(Pusher*) override { events.add("push started"); }
  void onPushStopped(Pusher*) override { events.add("push stopped"); }
  void onFirstFramePushed(Pusher*) override { events.add("first frame pushed"); }
  void onAudioVolumeCallback(const LumoRtc::LumoLiveUserVolumeInfo* volumes, int count,
                             int total) override {
    if (onVolume) onVolume({volumes, static_cast<std::size_t>(count)}, total);
    events.add("volume");
  }
  void onActiveSpeaker(Pusher*) override { events.add("active speaker"); }
  void onSetLiveMixTranscodingConfig(Pusher*, bool success, LumoRtc::String reason) override {
    events.add(success ? "mixed" : std::string("not mixed: ") + reason.c_str());
  }
  void onNetworkPoor(Pusher*) override { events.add("network poor"); }
  void onNetworkRecovery(Pusher*) override { events.add("network recovery"); }
  void onReconnectStart(Pusher*) override { events.add("reconnect start"); }
  void onConnectionLost(Pusher*) override { events.add("connection lost"); }
  void onReconnectFail(Pusher*) override { events.add("reconnect fail"); }
  void onReconnectSucceed(Pusher*) override { events.add("reconnect succeed"); }
  void onSendDataTimeout(Pusher*) override { events.add("send timeout"); }
  void onConnectFail(Pusher*) override { events.add("connect fail"); }
  void onPushURLAuthenticationOverdue(Pusher*) override { events.add("authentication overdue"); }
  void onSendMessage(Pusher*) override { events.add("send message"); }
  void onPacketsLost(Pusher*) override { events.add("packets lost"); }

  bool onCaptureVideoSample(Pusher*, LumoRtc::LumoLiveVideoSource source,
                            LumoRtc::LumoLiveVideoRawData& frame) override {
    if (++frames == 1) events.add("first frame captured");
    return edit ? edit(source, frame) : false;
  }
  bool onRemoteVideoSample(LumoRtc::LumoLivePlayer*, LumoRtc::LumoLiveVideoSource,
                           LumoRtc::LumoLiveVideoRawData&) override {
    return false;
  }

  EventLog events;
  std::atomic<int> frames{0};
  // Receives, and may change, each captured frame. To be set before the listener is attached.
  bool (*edit)(LumoRtc::LumoLiveVideoSource, LumoRtc::LumoLiveVideoRawData&) = nullptr;
  // Receives each volume report. To be set before the listener is attached.
  std::function<void(std::span<const LumoRtc::LumoLiveUserVolumeInfo>, int total)> onVolume;
};

}  // namespace NimboEngine::test

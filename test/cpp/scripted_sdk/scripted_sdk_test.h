// What the tests of the scripted SDK share: asking it, reading its records, and a listener.
//
// Thread: the test's own, but for RecordingListener, which is called from any.

#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "NimboSdk/LumoLiveBase.h"
#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLivePusher.h"
#include "scripted_sdk/control.h"

using Json = nlohmann::ordered_json;

// A pointer as the records show it.
inline Json pointerJson(const void* pointer) {
  if (!pointer) return nullptr;
  std::ostringstream text;
  text << pointer;
  return text.str();
}

// The answer to a request: {"value": …} or {"error": text}.
inline Json answerTo(const std::string& op, Json fields = Json::object()) {
  fields["op"] = op;
  return Json::parse(ScriptedSdk::control(fields.dump()));
}

// The value of a request that must succeed.
inline Json ask(const std::string& op, Json fields = Json::object()) {
  const Json answer = answerTo(op, std::move(fields));
  EXPECT_FALSE(answer.contains("error")) << answer.dump();
  return answer.value("value", Json());
}

inline Json fire(Json fields) {
  return ask("fire", {{"fire", std::move(fields)}});
}

inline Json recordsOf(const std::string& kind) {
  Json all = Json::array();
  for (const Json& record : ask("records")) {
    if (record["kind"] == kind) all.push_back(record);
  }
  return all;
}

inline Json lastCall() {
  const Json calls = recordsOf("call");
  return calls.empty() ? Json() : calls.back();
}

inline std::vector<std::string> names(const Json& records) {
  std::vector<std::string> all;
  for (const Json& record : records) all.push_back(record["name"]);
  return all;
}

// Every test begins with empty records and no answers, and leaves no living pusher.
class ScriptedSdkTest : public testing::Test {
 protected:
  void SetUp() override { ask("reset"); }
  void TearDown() override { LumoRtc::LumoLivePusher::destroy(); }
};

// Notes every callback with its arguments as they are during the call, and calls a hook if one is
// set.
class RecordingListener : public LumoRtc::LumoLivePushErrorListener,
                          public LumoRtc::LumoLivePushInfoListener,
                          public LumoRtc::LumoLivePushNetworkListener,
                          public LumoRtc::LumoLiveVideoFrameListener,
                          public LumoRtc::LumoLivePlayInfoListener {
 public:
  using Pusher = LumoRtc::LumoLivePusher;
  using Player = LumoRtc::LumoLivePlayer;
  using Frame = LumoRtc::LumoLiveVideoRawData;

  std::function<void()> onCallback;
  std::function<bool(Frame&)> onFrame;

  Json notes() {
    std::lock_guard lock(mutex_);
    return notes_;
  }

  void attachTo(Pusher& pusher) {
    pusher.setPushErrorListener(this);
    pusher.setPushInfoListener(this);
    pusher.setVideoFrameListener(this);
    pusher.setPushNetworkListener(this);
  }

  void onSystemError(Pusher* p, LumoRtc::LumoLivePushError e) override {
    note("onSystemError", p, {e.code, e.msg});
  }
  void onSDKError(Pusher* p, LumoRtc::LumoLivePushError e) override {
    note("onSDKError", p, {e.code, e.msg});
  }
  void onPreviewStarted(Pusher* p) override { note("onPreviewStarted", p); }
  void onPreviewStopped(Pusher* p) override { note("onPreviewStopped", p); }
  void onPushStarted(Pusher* p) override { note("onPushStarted", p); }
  void onPushStopped(Pusher* p) override { note("onPushStopped", p); }
  void onFirstFramePushed(Pusher* p) override { note("onFirstFramePushed", p); }
  void onAudioVolumeCallback(const LumoRtc::LumoLiveUserVolumeInfo* volumes, int count,
                             int totalVolume) override {
    Json all = Json::array();
    for (int i = 0; i < count; ++i) {
      const auto& volume = volumes[i];
      all.push_back({volume.userType, pointerJson(volume.player), volume.speechState, volume.volume,
                     volume.sumVolume});
    }
    note("onAudioVolumeCallback", nullptr, {all, count, totalVolume});
  }
  void onActiveSpeaker(Pusher* p) override { note("onActiveSpeaker", p); }
  void onSetLiveMixTranscodingConfig(Pusher* p, bool isSuccess, LumoRtc::String message) override {
    note("onSetLiveMixTranscodingConfig", p, {isSuccess, message.c_str()});
  }
  void onNetworkPoor(Pusher* p) override { note("onNetworkPoor", p); }
  void onNetworkRecovery(Pusher* p) override { note("onNetworkRecovery", p); }
  void onReconnectStart(Pusher* p) override { note("onReconnectStart", p); }
  void onConnectionLost(Pusher* p) override { note("onConnectionLost", p); }
  void onReconnectFail(Pusher* p) override { note("onReconnectFail", p); }
  void onReconnectSucceed(Pusher* p) override { note("onReconnectSucceed", p); }
  void onSendDataTimeout(Pusher* p) override { note("onSendDataTimeout", p); }
  void onConnectFail(Pusher* p) override { note("onConnectFail", p); }
  void onPushURLAuthenticationOverdue(Pusher* p) override {
    note("onPushURLAuthenticationOverdue", p);
  }
  void onSendMessage(Pusher* p) override { note("onSendMessage", p); }
  void onPacketsLost(Pusher* p) override { note("onPacketsLost", p); }
  bool onCaptureVideoSample(Pusher* p, LumoRtc::LumoLiveVideoSource source, Frame& frame) override {
    return noteFrame("onCaptureVideoSample", p, source, frame);
  }
  bool onRemoteVideoSample(Player* p, LumoRtc::LumoLiveVideoSource source, Frame& frame) override {
    return noteFrame("onRemoteVideoSample", p, source, frame);
  }
  void onPlayStarted(Player* p) override { note("onPlayStarted", p); }
  void onPlayStopped(Player* p) override { note("onPlayStopped", p); }
  void onFirstVideoFrameDrawn(Player* p) override { note("onFirstVideoFrameDrawn", p); }
  void onError(Player* p, LumoRtc::LumoLivePlayError code, const char* message) override {
    note("onError", p, {code, message});
  }
  void onNetworkQualityChange(Player* p, LumoRtc::LumoLiveNetworkQuality quality) override {
    note("onNetworkQualityChange", p, {quality});
  }
  void onPlayerStatistics(Player* p, LumoRtc::LumoLivePlayerStatsInfo s) override {
    note("onPlayerStatistics", p,
         {s.userId, s.channelId, s.videoWidth, s.videoHeight, s.decodeFps, s.renderFps,
          s.videoBitrate, s.audioBitrate, s.audioLossRate, s.lossRate});
  }
  void onActiveSpeaker(LumoRtc::LumoLiveUserVolumeEnum userType, Player* p) override {
    note("onActiveSpeaker", p, {userType});
  }

 private:
  void note(const char* name, const void* object, const Json& args = Json::array()) {
    {
      std::lock_guard lock(mutex_);
      notes_.push_back({{"name", name}, {"object", pointerJson(object)}, {"args", args}});
    }
    if (onCallback) onCallback();
  }

  bool noteFrame(const char* name, const void* object, uint32_t source, Frame& frame) {
    note(name, object,
         Json::array({source, frame.width, frame.height, frame.strideY, frame.strideU,
                      frame.strideV, frame.data != nullptr}));
    return onFrame && onFrame(frame);
  }

  std::mutex mutex_;
  Json notes_ = Json::array();
};

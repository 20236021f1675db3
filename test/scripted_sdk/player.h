// A player that records its calls and answers as told.
//
// Thread: any.
// Failure: none.

#pragma once

#include "NimboSdk/LumoLivePlayer.h"
#include "scripted_sdk/call.h"
#include "scripted_sdk/listener_slot.h"

namespace ScriptedSdk {

class Player final : public LumoRtc::LumoLivePlayer {
 public:
  using Interface = LumoRtc::LumoLivePlayer;
  static constexpr const char* kArgument = "player";

  int initPlayer(LumoRtc::LumoLivePlayerConfig config) override;
  int setPlayView(void* view, uint32_t width, uint32_t height) override;
  int startPlay(const char* url) override;
  int stopPlay() override;
  void destroy() override;
  int setRemoteAudioVolume(unsigned int volume) override;
  void setPlayInfoListener(LumoRtc::LumoLivePlayInfoListener* listener) override;
  void setVideoFrameListener(LumoRtc::LumoLiveVideoFrameListener* listener) override;
  int getPlayMode() override;

  ListenerSlot<LumoRtc::LumoLivePlayInfoListener> infoListener;
  ListenerSlot<LumoRtc::LumoLiveVideoFrameListener> frameListener;

 private:
  Call call(const char* name, Json args = Json::object()) const;
};

}  // namespace ScriptedSdk

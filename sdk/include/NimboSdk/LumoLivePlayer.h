// The playing side of the SDK: players of remote streams and the listener they report to.

#pragma once

#include <cstdint>

#include "NimboSdk/LumoLiveDefine.h"
#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoRtcExport.h"

namespace LumoRtc {

// Called on threads of the SDK's own, with the same guarantees as for the pusher's listeners.
// `player` is the pointer that LumoLivePlayer::Create returned: its address is the player's
// identity.
class LumoLivePlayInfoListener {
 public:
  virtual void onPlayStarted(LumoLivePlayer* player) = 0;
  virtual void onPlayStopped(LumoLivePlayer* player) = 0;
  virtual void onFirstVideoFrameDrawn(LumoLivePlayer* player) = 0;
  // `message` is valid during the call and never null.
  virtual void onError(LumoLivePlayer* player, LumoLivePlayError code, const char* message) = 0;
  virtual void onNetworkQualityChange(LumoLivePlayer* player, LumoLiveNetworkQuality quality) = 0;
  virtual void onPlayerStatistics(LumoLivePlayer* player, LumoLivePlayerStatsInfo stats) = 0;
  // The player's own record. Enabled by LumoLivePusher::enableAudioVolumeIndication.
  virtual void onAudioVolumeCallback(const LumoLiveUserVolumeInfo* volumes, int volumeInfoCount,
                                     int totalVolume) = 0;
  virtual void onActiveSpeaker(LumoLiveUserVolumeEnum userType, LumoLivePlayer* player) = 0;

 protected:
  ~LumoLivePlayInfoListener() = default;
};

// Thread: as for the pusher. The order of the virtual operations is part of the binary interface.
class LumoLivePlayer {
 public:
  // Creates a player; null when `extraConfig` (a JSON text, "" for defaults) cannot be used or no
  // further player can be created.
  LUMO_RTC_EXPORT static LumoLivePlayer* Create(const char* extraConfig);

  virtual int initPlayer(LumoLivePlayerConfig config) = 0;
  // See LumoLivePusher::startPreview for what a view handle is.
  virtual int setPlayView(void* view, uint32_t width, uint32_t height) = 0;
  virtual int startPlay(const char* url) = 0;
  virtual int stopPlay() = 0;
  // Stops and frees the player; waits for running callbacks.
  virtual void destroy() = 0;
  // Percent of the stream's original volume, 0 to 400; 100 leaves it unchanged.
  virtual int setRemoteAudioVolume(unsigned int volume) = 0;
  virtual void setPlayInfoListener(LumoLivePlayInfoListener* listener) = 0;
  virtual void setVideoFrameListener(LumoLiveVideoFrameListener* listener) = 0;
  virtual int getPlayMode() = 0;

 protected:
  ~LumoLivePlayer() = default;
};

}  // namespace LumoRtc

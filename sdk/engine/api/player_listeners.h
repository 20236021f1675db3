// A player's two listeners, and the events raised on them.
//
// Thread: the slots may be set on any thread; see ListenerSlot for what setting guarantees. Events
//   are raised on the engine thread, frames on the playback's own.
// Ownership: the listeners are the application's.
// Failure: an event without a listener is dropped.

#pragma once

#include <gst/video/video.h>

#include <string>

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLiveResult.h"
#include "base/listener_slot.h"

namespace NimboEngine {

class PlayerListeners {
 public:
  using InfoEvent = void (LumoRtc::LumoLivePlayInfoListener::*)(LumoRtc::LumoLivePlayer*);

  // `player` is passed to the listeners and not used otherwise.
  explicit PlayerListeners(LumoRtc::LumoLivePlayer* player) : player_(player) {}

  void detachAll();

  void info(InfoEvent event);
  void error(LumoRtc::LumoLiveErrorCode code, const std::string& message);
  void quality(LumoRtc::LumoLiveNetworkQuality quality);
  void volume(const LumoRtc::LumoLiveUserVolumeInfo& record);
  void activeSpeaker();
  void statistics(const LumoRtc::LumoLivePlayerStatsInfo& statistics);

  // One contiguous I420 frame, which the listener may change.
  void videoFrame(GstBuffer* buffer, const GstVideoInfo& info);

  ListenerSlot<LumoRtc::LumoLivePlayInfoListener> infoSlot;
  ListenerSlot<LumoRtc::LumoLiveVideoFrameListener> frameSlot;

 private:
  LumoRtc::LumoLivePlayer* const player_;
};

}  // namespace NimboEngine

// The players that play now, for whoever reports how loud they are: the pusher, which does not know
// them otherwise.
//
// Thread: any.
// Ownership: an entry shares the meter; `player` is an identity only.

#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "NimboSdk/LumoLiveDefine.h"
#include "audio/level_meter.h"

namespace NimboEngine {

struct AudiblePlayer {
  LumoRtc::LumoLivePlayer* player = nullptr;
  std::shared_ptr<LevelMeter> meter;
  // Have the player's own listener told, as far as it still plays by then.
  std::function<void(const LumoRtc::LumoLiveUserVolumeInfo&)> notifyVolume;
  std::function<void()> notifyActiveSpeaker;
};

void addAudiblePlayer(AudiblePlayer player);
void removeAudiblePlayer(const std::shared_ptr<LevelMeter>& meter);

// In the order in which they began to play.
std::vector<AudiblePlayer> audiblePlayers();

}  // namespace NimboEngine

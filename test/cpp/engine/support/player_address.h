// A player's identity without the player: only its address counts.

#pragma once

#include "NimboSdk/LumoLivePlayer.h"

namespace NimboEngine::test {

inline LumoRtc::LumoLivePlayer* playerAt(int& place) {
  return static_cast<LumoRtc::LumoLivePlayer*>(static_cast<void*>(&place));
}

}  // namespace NimboEngine::test

// A player's identity without the player: only its address counts.

#pragma once

#include "NimboSdk/LumoLivePlayer.h"

namespace NimboEngine::test {

inline LumoRtc::LumoLivePlayer* playerAt(int& place) {
  return reinterpret_cast<LumoRtc::LumoLivePlayer*>(&place);
}

}  // namespace NimboEngine::test

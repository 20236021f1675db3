#include "NimboSdk/LumoLivePlayer.h"

#include "log/log.h"

namespace LumoRtc {

LumoLivePlayer* LumoLivePlayer::Create(const char*) {
  NIMBO_LOG_WARN("this build does not play streams");
  return nullptr;
}

}  // namespace LumoRtc

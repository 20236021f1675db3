#include "NimboSdk/LumoLiveBase.h"

#include "NimboSdk/LumoLiveResult.h"
#include "base/log.h"

namespace LumoRtc {

const char* LumoLiveBase::GetSDKVersion() {
  return "0.1.0";
}

bool LumoLiveBase::isSupportLiveMode(LumoLiveMode mode) {
  return mode == kLumoLiveModeBasic;
}

int LumoLiveBase::SetLogDirPath(const char* path, int maxSizeMiB) {
  if (!path || !*path || maxSizeMiB < 1) return kLumoLiveInvalidArgument;
  return NimboEngine::setLogDirectory(path, maxSizeMiB) ? kLumoLiveOk : kLumoLiveNotFound;
}

void LumoLiveBase::SetLogLevel(LumoLivePushLogLevel level) {
  NimboEngine::setLogLevel(level);
}

void LumoLiveBase::setConsoleEnabled(bool enabled) {
  NimboEngine::setLogConsole(enabled);
}

}  // namespace LumoRtc

// The process-wide utilities: recorded, answered as told.

#include "NimboSdk/LumoLiveBase.h"

#include "scripted_sdk/call.h"
#include "scripted_sdk/records.h"

namespace LumoRtc {

using ScriptedSdk::Call;
using ScriptedSdk::Json;

const char* LumoLiveBase::GetSDKVersion() {
  Call call("base.GetSDKVersion", nullptr, Json::object());
  const Json version = call.answer();
  call.recordResult(version);
  return ScriptedSdk::immortalText(ScriptedSdk::readText(version));
}

bool LumoLiveBase::isSupportLiveMode(LumoLiveMode mode) {
  return Call("base.isSupportLiveMode", nullptr, {{"mode", static_cast<uint32_t>(mode)}}).boolean();
}

int LumoLiveBase::SetLogDirPath(const char* path, int maxSizeMiB) {
  return Call("base.SetLogDirPath", nullptr,
              {{"path", ScriptedSdk::textJson(path)}, {"maxSizeMiB", maxSizeMiB}})
      .integer();
}

void LumoLiveBase::SetLogLevel(LumoLivePushLogLevel level) {
  Call("base.SetLogLevel", nullptr, {{"level", static_cast<int32_t>(level)}});
}

void LumoLiveBase::setConsoleEnabled(bool enabled) {
  Call("base.setConsoleEnabled", nullptr, {{"enabled", enabled}});
}

}  // namespace LumoRtc

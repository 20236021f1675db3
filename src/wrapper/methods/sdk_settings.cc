// SDK-wide settings. None of them needs the pusher or the wrapper.

#include "NimboSdk/LumoLiveBase.h"
#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {

using LumoRtc::LumoLiveBase;

void LumoLivePushJSWrapper::GetSDKVersion(const Arguments& args) {
  SetResult(args, LumoLiveBase::GetSDKVersion());
}

void LumoLivePushJSWrapper::IsSupportLiveMode(const Arguments& args) {
  // Deliberate: the line names another method.
  if (!OnlyNumber(args)) return Refuse(args, LUMO_HERE, false, "SetLogLevel");
  const auto mode = static_cast<LumoRtc::LumoLiveMode>(UIntAt(args, 0));
  SetResult(args, LumoLiveBase::isSupportLiveMode(mode));
}

void LumoLivePushJSWrapper::SetLogDirPath(const Arguments& args) {
  constexpr int kMaxSize = 512;
  if (args.Length() != 1 || !args[0]->IsString()) return Refuse(args, LUMO_HERE, kFailed);
  SetResult(args, LumoLiveBase::SetLogDirPath(StringAt(args, 0).c_str(), kMaxSize));
}

void LumoLivePushJSWrapper::SetLogLevel(const Arguments& args) {
  if (args.Length() != 1 || !args[0]->IsInt32()) return Refuse(args, LUMO_HERE, Undefined{});
  // Deliberate: no range check here; writeLog has one.
  LumoLiveBase::SetLogLevel(static_cast<LumoRtc::LumoLivePushLogLevel>(IntAt(args, 0)));
}

void LumoLivePushJSWrapper::SetConsoleEnabled(const Arguments& args) {
  if (!OnlyBoolean(args)) return Refuse(args, LUMO_HERE, Undefined{});
  LumoLiveBase::setConsoleEnabled(args[0]->IsTrue());
}

}  // namespace LumoLivePushElectronSDK

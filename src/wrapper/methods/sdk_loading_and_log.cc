// registPlugin and writeLog: finding the SDK library and writing to its log.

#include <dlfcn.h>

#include <cstdio>

#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {

std::string LumoLivePushJSWrapper::sdk_path;
void* LumoLivePushJSWrapper::sLibraryHandler = nullptr;
LumoLivePushJSWrapper::OutputLog LumoLivePushJSWrapper::sFuncOutputLog = nullptr;

bool LumoLivePushJSWrapper::LoadSDK() {
  const std::string path = sdk_path + "/NimboSdk.framework/NimboSdk";
  // The handle of an earlier load is dropped, never closed: its logger may still be in use.
  sLibraryHandler = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (!sLibraryHandler) {
    const char* error = dlerror();
    LogFailure(LUMO_HERE, "Load SDK Failed, Path: %s, Error: %s", path.c_str(), error);
    return false;
  }
  sFuncOutputLog = reinterpret_cast<OutputLog>(dlsym(sLibraryHandler, "NimboEngineOutputLog"));
  if (!sFuncOutputLog) {
    // From here on logging is off, even if an earlier library had a logger.
    std::printf("Function:%s load failed", "sFuncOutputLog");
    std::fflush(stdout);
  } else {
    Log(LUMO_HERE, LumoRtc::kLumoLivePushLogLevelInfo, "Load SDK Finish");
  }
  return true;
}

void LumoLivePushJSWrapper::RegistPlugin(const Arguments& args) {
  if (!FirstIsString(args)) return Refuse(args, LUMO_HERE, false);
  sdk_path = StringAt(args, 0);
  SetResult(args, LoadSDK());
}

void LumoLivePushJSWrapper::WriteLog(const char* message, LumoRtc::LumoLivePushLogLevel level) {
  constexpr auto kHighest = static_cast<uint32_t>(LumoRtc::kLumoLivePushLogLevelError);
  if (!message || !sFuncOutputLog || static_cast<uint32_t>(level) > kHighest) return;
  sFuncOutputLog(kSourceFile, __func__, __LINE__, "Electron-JS", level, message);
}

void LumoLivePushJSWrapper::WriteLog(const Arguments& args) {
  if (!FirstIsString(args)) {
    SetResult(args, static_cast<int>(kInvalidParam));
    NotifyError(args, kInvalidParam);
    LogFailure(LUMO_HERE, "%s: invaild param", __func__);
    return;
  }
  if (!Find(args)) return;
  // Anything but exactly one 32-bit integer after the message means the ordinary level.
  const bool levelGiven = args.Length() == 2 && args[1]->IsInt32();
  const int level = levelGiven ? TypeConverterUtils::GetIntValue(args.GetIsolate(), args[1])
                               : LumoRtc::kLumoLivePushLogLevelInfo;
  WriteLog(StringAt(args, 0).c_str(), static_cast<LumoRtc::LumoLivePushLogLevel>(level));
}

}  // namespace LumoLivePushElectronSDK

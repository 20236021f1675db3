// Process-wide utilities of the SDK.

#pragma once

#include "NimboSdk/LumoLiveDefine.h"
#include "NimboSdk/LumoRtcExport.h"

namespace LumoRtc {

// Thread: any. The mixed capitalisation is part of the interface.
class LUMO_RTC_EXPORT LumoLiveBase {
 public:
  // Valid for the life of the process; may be null.
  static const char* GetSDKVersion();

  // Returns whether this build supports `mode`.
  static bool isSupportLiveMode(LumoLiveMode mode);

  // Writes the log into `path` from now on, keeping at most `maxSizeMiB` MiB of files there.
  // Returns 0, or an error code when the directory cannot be used.
  static int SetLogDirPath(const char* path, int maxSizeMiB);

  // Lines below `level` are dropped.
  static void SetLogLevel(LumoLivePushLogLevel level);

  // Enables or disables output to standard error.
  static void setConsoleEnabled(bool enabled);
};

}  // namespace LumoRtc

// The engine's log: one text line each to a rotating file, to standard error, or to both.
//
// log_line.h defines the form of a line and what is redacted, log_file.h where files are written.
// Nothing is written before a directory is set or the console is enabled.
//
// Thread: any, also while the process exits.
// Ownership: all texts are copied.
// Failure: a line that cannot be written is lost.

#pragma once

#include <fmt/format.h>

#include <cstdarg>
#include <string_view>

#include "NimboSdk/LumoRtcExport.h"
#include "base/log_line.h"

namespace NimboEngine {

// The numbers of LumoRtc::LumoLivePushLogLevel, so that both sides share one scale.
enum LogLevel : int { kLogTrace, kLogDebug, kLogVerbose, kLogInfo, kLogWarning, kLogError };

// Tag of the engine's own lines.
inline constexpr char kEngineTag[] = "Nimbo";

// Lines below `level` are dropped from now on. The log starts at kLogInfo.
void setLogLevel(int level);

// Enables or disables output to standard error. Off at first.
void setLogConsole(bool enabled);

// Writes into `directory`, which is created when missing, from now on. The current file and its
// predecessors together keep within `maxMiB` MiB; such files of an earlier, larger limit that do
// not fit are removed. Returns false if the directory cannot be written; the previous one then
// stays.
bool setLogDirectory(const char* directory, int maxMiB);

bool isLogged(int level);
void writeLog(int level, const char* tag, const LogSite& site, std::string_view text);

}  // namespace NimboEngine

#define NIMBO_LOG(level, ...)                                                               \
  do {                                                                                      \
    if (NimboEngine::isLogged(level))                                                       \
      NimboEngine::writeLog(level, NimboEngine::kEngineTag, {__FILE__, __func__, __LINE__}, \
                            fmt::format(__VA_ARGS__));                                      \
  } while (false)
#define NIMBO_LOG_DEBUG(...) NIMBO_LOG(NimboEngine::kLogDebug, __VA_ARGS__)
#define NIMBO_LOG_INFO(...) NIMBO_LOG(NimboEngine::kLogInfo, __VA_ARGS__)
#define NIMBO_LOG_WARN(...) NIMBO_LOG(NimboEngine::kLogWarning, __VA_ARGS__)
#define NIMBO_LOG_ERROR(...) NIMBO_LOG(NimboEngine::kLogError, __VA_ARGS__)

// The library's logging entry point for its users, found by name. `format` and what follows it
// are as for printf, except for lines tagged "Electron-JS": their `format` is written as it is,
// since it is from scripts and has no arguments. Null texts count as empty.
extern "C" LUMO_RTC_EXPORT void NimboEngineOutputLog(const char* file, const char* function,
                                                     int line, const char* tag, int level,
                                                     const char* format, ...);

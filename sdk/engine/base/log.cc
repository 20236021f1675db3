#include "base/log.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "base/log_file.h"
#include "base/mutex.h"
#include "base/never_destroyed.h"

namespace NimboEngine {
namespace {

constexpr char kScriptTag[] = "Electron-JS";

struct Log {
  std::atomic<int> level{kLogInfo};
  Mutex mutex;
  bool console NIMBO_GUARDED_BY(mutex) = false;
  std::unique_ptr<LogFile> file NIMBO_GUARDED_BY(mutex);
};

// Never destroyed: capture and network threads may still write while the process exits.
Log& theLog() {
  static NeverDestroyed<Log> log;
  return *log;
}

std::string expand(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length <= 0) return {};
  std::string text(static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

const char* orEmpty(const char* text) {
  return text ? text : "";
}

}  // namespace

void setLogLevel(int level) {
  theLog().level = level;
}

void setLogConsole(bool enabled) {
  const MutexLock lock(theLog().mutex);
  theLog().console = enabled;
}

bool setLogDirectory(const char* directory, int maxMiB) {
  if (!directory || !*directory || maxMiB < 1) return false;
  const std::size_t fileSize = static_cast<std::size_t>(maxMiB) * 1024 * 1024 / LogFile::kFileCount;
  std::string error;
  {
    const MutexLock lock(theLog().mutex);  // no thread may write to files that are being removed
    auto file = LogFile::open(directory, fileSize);
    if (file) {
      theLog().file.swap(*file);
      return true;
    }
    error = file.error().text;
  }
  NIMBO_LOG_ERROR("cannot write a log into {}: {}", directory, error);
  return false;
}

bool isLogged(int level) {
  return level >= theLog().level;
}

void writeLog(int level, const char* tag, const LogSite& site, std::string_view text) {
  if (!isLogged(level)) return;
  const std::string line = logLine(level, tag, site, text);
  Log& log = theLog();
  const MutexLock lock(log.mutex);
  // Unbuffered: the last lines before a crash matter most.
  if (log.console) std::fwrite(line.data(), 1, line.size(), stderr);
  if (log.file) log.file->write(line);
}

}  // namespace NimboEngine

void NimboEngineOutputLog(const char* file, const char* function, int line, const char* tag,
                          int level, const char* format, ...) {
  using namespace NimboEngine;
  if (!format || !isLogged(level)) return;
  const LogSite site{orEmpty(file), orEmpty(function), line};
  if (tag && std::strcmp(tag, kScriptTag) == 0) return writeLog(level, tag, site, format);
  va_list arguments;
  va_start(arguments, format);
  const std::string text = expand(format, arguments);
  va_end(arguments);
  writeLog(level, orEmpty(tag), site, text);
}

#include "log/log.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include "base/never_destroyed.h"

namespace NimboEngine {
namespace {

constexpr char kFileName[] = "nimbo_sdk.log";
constexpr std::size_t kFileCount = 4;  // the current file and three predecessors
constexpr char kScriptTag[] = "Electron-JS";
// So that even the smallest files, of a quarter of a MiB, hold a whole line.
constexpr std::size_t kLongestText = 200'000;

// Our six levels travel in the library's level field number by number; only their names differ.
class LevelName : public spdlog::custom_flag_formatter {
 public:
  void format(const spdlog::details::log_msg& message, const std::tm&,
              spdlog::memory_buf_t& out) override {
    static constexpr std::array<std::string_view, 6> kNames = {"trace", "debug",   "verbose",
                                                               "info",  "warning", "error"};
    const std::string_view name = kNames.at(static_cast<std::size_t>(message.level));
    out.append(name.data(), name.data() + name.size());
  }
  std::unique_ptr<custom_flag_formatter> clone() const override {
    return std::make_unique<LevelName>();
  }
};

void setPattern(spdlog::sinks::sink& sink) {
  auto formatter = std::make_unique<spdlog::pattern_formatter>();
  formatter->add_flag<LevelName>('*').set_pattern(
      "%Y-%m-%d %H:%M:%S.%e [%*] [%n] [%t] %s:%# %! %v");
  sink.set_formatter(std::move(formatter));
}

struct Log {
  std::atomic<int> level{kLogInfo};
  std::mutex mutex;  // guards the two sinks, which are not thread-safe themselves
  std::shared_ptr<spdlog::sinks::sink> console;
  std::shared_ptr<spdlog::sinks::sink> file;
};

// Sinks are used directly, without the library's registry: a registry is destroyed at exit, while
// capture and network threads may still write.
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

// Files that were written under a larger limit: the rotation would keep them.
void removeTooLarge(const std::string& currentFile, std::size_t fileSize) {
  for (std::size_t i = 0; i < kFileCount; ++i) {
    const std::string file = spdlog::sinks::rotating_file_sink_st::calc_filename(currentFile, i);
    std::error_code missing;
    const auto size = std::filesystem::file_size(file, missing);
    if (!missing && size > fileSize) std::filesystem::remove(file, missing);
  }
}

const char* orEmpty(const char* text) {
  return text ? text : "";
}

}  // namespace

void setLogLevel(int level) {
  theLog().level = level;
}

void setLogConsole(bool enabled) {
  std::shared_ptr<spdlog::sinks::sink> console;
  if (enabled) {
    console = std::make_shared<spdlog::sinks::stderr_sink_st>();
    setPattern(*console);
  }
  std::lock_guard lock(theLog().mutex);
  theLog().console.swap(console);
}

bool setLogDirectory(const char* directory, int maxMiB) {
  if (!directory || !*directory || maxMiB < 1) return false;
  const std::size_t fileSize = static_cast<std::size_t>(maxMiB) * 1024 * 1024 / kFileCount;
  const std::string name = std::string(directory) + '/' + kFileName;
  try {
    std::lock_guard lock(theLog().mutex);
    removeTooLarge(name, fileSize);
    std::shared_ptr<spdlog::sinks::sink> file =
        std::make_shared<spdlog::sinks::rotating_file_sink_st>(name, fileSize, kFileCount - 1);
    setPattern(*file);
    theLog().file.swap(file);
    return true;
  } catch (const std::exception& error) {
    NIMBO_LOG_ERROR("cannot write a log into {}: {}", directory, error.what());
    return false;
  }
}

bool isLogged(int level) {
  return level >= theLog().level;
}

void writeLog(int level, const char* tag, const LogSite& site, std::string_view text) {
  if (!isLogged(level)) return;
  const auto number = static_cast<spdlog::level::level_enum>(std::clamp<int>(level, 0, kLogError));
  const spdlog::details::log_msg message({site.file, site.line, site.function}, tag, number,
                                         {text.data(), std::min(text.size(), kLongestText)});
  Log& log = theLog();
  std::lock_guard lock(log.mutex);
  for (const auto* sink : {&log.console, &log.file}) {
    if (!*sink) continue;
    try {
      (*sink)->log(message);
      (*sink)->flush();  // at once: the last lines before a crash are the ones that matter
    } catch (const std::exception&) {
      // A full disk must not end a live stream; there is nowhere left to report it.
    }
  }
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

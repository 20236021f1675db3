#include "base/log_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace NimboEngine {
namespace {

constexpr mode_t kDirectoryMode = 0700;
constexpr mode_t kFileMode = 0600;

std::string fileName(int number) {
  return number == 0 ? "nimbo_sdk.log" : fmt::format("nimbo_sdk.{}.log", number);
}

std::string reasonOf(int code) {
  return std::generic_category().message(code);
}

// Existing directories stay as they are.
void makeDirectories(const std::string& directory) {
  std::filesystem::path path;
  for (const auto& part : std::filesystem::path(directory)) {
    path /= part;
    mkdir(path.c_str(), kDirectoryMode);
  }
}

}  // namespace

Result<std::unique_ptr<LogFile>> LogFile::open(const std::string& directory, std::size_t fileSize) {
  makeDirectories(directory);
  const int descriptor = ::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return failed(LumoRtc::kLumoLiveNotFound, "{}", reasonOf(errno));
  std::unique_ptr<LogFile> file(new LogFile(descriptor, fileSize));
  file->removeTooLarge();
  if (auto opened = file->openCurrent(); !opened) return tl::unexpected(opened.error());
  return file;
}

LogFile::~LogFile() {
  if (file_ >= 0) close(file_);
  close(directory_);
}

Result<void> LogFile::openCurrent() {
  // NONBLOCK: opening a pipe without a reader would block the caller forever.
  constexpr int kFlags =
      O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const std::string name = fileName(0);
  const int file = openat(directory_, name.c_str(), kFlags, kFileMode);
  const int code = errno;
  struct stat status {};
  if (file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
      fchmod(file, kFileMode) == 0) {
    file_ = file;
    written_ = static_cast<std::size_t>(status.st_size);
    return {};
  }
  if (file < 0) return failed(LumoRtc::kLumoLiveNotFound, "{}: {}", name, reasonOf(code));
  close(file);
  return refused("{} is not a regular file of this user's", name);
}

void LogFile::removeTooLarge() const {
  for (int number = 0; number < kFileCount; ++number) {
    const std::string name = fileName(number);
    struct stat status {};
    const bool there = fstatat(directory_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (there && S_ISREG(status.st_mode) && static_cast<std::size_t>(status.st_size) > fileSize_) {
      unlinkat(directory_, name.c_str(), 0);
    }
  }
}

void LogFile::rotate() {
  for (int number = kFileCount - 1; number > 0; --number) {
    renameat(directory_, fileName(number - 1).c_str(), directory_, fileName(number).c_str());
  }
  close(file_);
  file_ = -1;
  if (!openCurrent() || written_ == 0) return;
  // It could not be renamed; the size limit still applies.
  if (ftruncate(file_, 0) == 0) written_ = 0;
}

void LogFile::write(std::string_view line) {
  if (file_ >= 0 && written_ > 0 && written_ + line.size() > fileSize_) rotate();
  if (file_ < 0 && !openCurrent()) return;
  ssize_t count = 0;
  do {
    count = ::write(file_, line.data(), line.size());
  } while (count < 0 && errno == EINTR);
  if (count == static_cast<ssize_t>(line.size())) {
    written_ += line.size();
  } else if (count > 0) {  // the disk is full; truncates what other processes append meanwhile too
    [[maybe_unused]] const int cut = ftruncate(file_, static_cast<off_t>(written_));
  }
}

}  // namespace NimboEngine

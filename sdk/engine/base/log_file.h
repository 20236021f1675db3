// The log's files in one directory: the current one, "nimbo_sdk.log", and three predecessors,
// "nimbo_sdk.1.log" and so on, the youngest first.
//
// All are private to the user (0600), and so are directories that are created for them (0700).
// Anything that is not a regular file (a link, a pipe, a device, a directory) or belongs to another
// user is never written to.
//
// Thread: one at a time.
// Failure: open() returns an error; a line that cannot be written later is lost as a
//   whole.

#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"

namespace NimboEngine {

class LogFile {
 public:
  static constexpr int kFileCount = 4;

  // No file grows beyond `fileSize` bytes, unless one line alone is larger; files of an earlier,
  // larger limit are removed.
  static Result<std::unique_ptr<LogFile>> open(const std::string& directory, std::size_t fileSize);
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  // `line` ends with a line feed.
  void write(std::string_view line);

 private:
  LogFile(int directory, std::size_t fileSize) : directory_(directory), fileSize_(fileSize) {}

  Result<void> openCurrent();
  void removeTooLarge() const;
  void rotate();

  const int directory_;
  const std::size_t fileSize_;
  int file_ = -1;
  std::size_t written_ = 0;
};

}  // namespace NimboEngine

#include "platform/open_file.h"

#include <filesystem>
#include <system_error>

namespace NimboEngine {

std::string pathOfOpenFile(int file) {
  std::error_code failed;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), failed).string();
}

}  // namespace NimboEngine

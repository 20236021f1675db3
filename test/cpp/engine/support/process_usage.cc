#include "support/process_usage.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace NimboEngine::test {
namespace {

std::ptrdiff_t entries(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

}  // namespace

ProcessUsage processUsage() {
  std::ptrdiff_t total = 0;
  std::ptrdiff_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return {entries("/proc/self/task"), entries("/proc/self/fd"),
          resident * sysconf(_SC_PAGESIZE) / 1024};
}

}  // namespace NimboEngine::test

#include "support/process_usage.h"

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace NimboEngine::test {
namespace {

std::ptrdiff_t entries(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

}  // namespace

ProcessUsage processUsage() {
  const struct mallinfo2 heap = mallinfo2();
  return {entries("/proc/self/task"), entries("/proc/self/fd"),
          static_cast<std::ptrdiff_t>(heap.uordblks + heap.hblkhd) / 1024};
}

std::size_t addressSpaceBytes() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<std::size_t>(getpagesize());
}

void resetPeakMemory() {
  std::ofstream("/proc/self/clear_refs") << '5';
}

std::ptrdiff_t peakMemoryKiB() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != "VmHWM:") continue;
    std::ptrdiff_t peak = 0;
    status >> peak;
    return peak;
  }
  return 0;
}

}  // namespace NimboEngine::test

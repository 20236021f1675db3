#include "support/process_usage.h"

#include <malloc.h>

#include <filesystem>
#include <iterator>

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

}  // namespace NimboEngine::test

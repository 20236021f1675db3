// Resource usage of this process, for tests that something does not grow.

#pragma once

#include <cstddef>

namespace NimboEngine::test {

struct ProcessUsage {
  std::ptrdiff_t threads = 0;
  std::ptrdiff_t descriptors = 0;
  std::ptrdiff_t heapKiB = 0;  // allocated and not freed; pages that are resident vary by chance
};

ProcessUsage processUsage();

std::size_t addressSpaceBytes();

// The peak of resident memory since the last reset.
void resetPeakMemory();
std::ptrdiff_t peakMemoryKiB();

}  // namespace NimboEngine::test

// What this process uses, for tests that something does not grow.

#pragma once

#include <cstddef>

namespace NimboEngine::test {

struct ProcessUsage {
  std::ptrdiff_t threads = 0;
  std::ptrdiff_t descriptors = 0;
  std::ptrdiff_t residentKiB = 0;
};

ProcessUsage processUsage();

}  // namespace NimboEngine::test

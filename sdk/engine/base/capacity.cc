#include "base/capacity.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <semaphore>
#include <system_error>
#include <thread>
#include <vector>

namespace NimboEngine {
namespace {

// Up to what is needed.
int freeDescriptors() {
  std::array<int, kNeededDescriptors> opened{};
  int count = 0;
  const int first = open("/dev/null", O_RDONLY | O_CLOEXEC);
  for (int next = first; next >= 0; next = fcntl(first, F_DUPFD_CLOEXEC, 0)) {
    opened.at(static_cast<std::size_t>(count++)) = next;
    if (count == kNeededDescriptors) break;
  }
  std::for_each_n(opened.begin(), count, close);
  return count;
}

int freeThreads() {
  std::counting_semaphore<kNeededThreads> end(0);
  std::vector<std::thread> threads;
  threads.reserve(kNeededThreads);
  try {
    while (threads.size() < kNeededThreads) threads.emplace_back([&end] { end.acquire(); });
  } catch (const std::system_error&) {
    // As many as there are is what was asked.
  }
  end.release(static_cast<std::ptrdiff_t>(threads.size()));
  for (std::thread& thread : threads) thread.join();
  return static_cast<int>(threads.size());
}

}  // namespace

std::string missingCapacity() {
  if (const int count = freeDescriptors(); count < kNeededDescriptors) {
    return fmt::format("only {} more descriptors can be opened; {} are needed", count,
                       kNeededDescriptors);
  }
  if (const int count = freeThreads(); count < kNeededThreads) {
    return fmt::format("only {} more threads can be started; {} are needed", count, kNeededThreads);
  }
  return {};
}

}  // namespace NimboEngine

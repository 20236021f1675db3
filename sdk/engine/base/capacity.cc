#include "base/capacity.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <semaphore>
#include <system_error>
#include <thread>
#include <vector>

namespace NimboEngine {
namespace {

// Counts by opening up to `most`: the table of descriptors has holes.
int freeDescriptors(int most) {
  std::vector<int> opened;
  opened.reserve(static_cast<std::size_t>(most));
  const int first = open("/dev/null", O_RDONLY | O_CLOEXEC);
  for (int next = first; next >= 0; next = fcntl(first, F_DUPFD_CLOEXEC, 0)) {
    opened.push_back(next);
    if (static_cast<int>(opened.size()) == most) break;
  }
  std::ranges::for_each(opened, close);
  return static_cast<int>(opened.size());
}

int freeThreads() {
  std::counting_semaphore<kNeededThreads> end(0);
  std::vector<std::thread> threads;
  threads.reserve(kNeededThreads);
  try {
    while (threads.size() < kNeededThreads) threads.emplace_back([&end] { end.acquire(); });
  } catch (const std::system_error&) {
    // Running out is the answer to the question.
  }
  end.release(static_cast<std::ptrdiff_t>(threads.size()));
  for (std::thread& thread : threads) thread.join();
  return static_cast<int>(threads.size());
}

}  // namespace

bool areDescriptorsLeft(int count) {
  return freeDescriptors(count) == count;
}

Result<void, LumoRtc::LumoLiveErrorCode> checkCapacity() {
  constexpr auto kCode = LumoRtc::kLumoLiveErrorNoCapacity;
  if (const int count = freeDescriptors(kNeededDescriptors); count < kNeededDescriptors) {
    return failed(kCode, "only {} more descriptors can be opened; {} are needed", count,
                  kNeededDescriptors);
  }
  if (const int count = freeThreads(); count < kNeededThreads) {
    return failed(kCode, "only {} more threads can be started; {} are needed", count,
                  kNeededThreads);
  }
  return {};
}

}  // namespace NimboEngine

#include "platform/close_on_exec.h"

#include <fcntl.h>

#include <charconv>
#include <filesystem>
#include <set>
#include <string>
#include <system_error>

namespace NimboEngine {
namespace {

std::set<int>& inheritable() {
  // Never destroyed: threads open descriptors while the process exits.
  static auto* const descriptors = new std::set<int>;
  return *descriptors;
}

// Calls `use` with each descriptor that programs would inherit.
template <class Use>
void eachUnmarked(Use use) {
  std::error_code failed;
  std::filesystem::directory_iterator entry("/proc/self/fd", failed);
  for (; !failed && entry != std::filesystem::directory_iterator(); entry.increment(failed)) {
    const std::string name = entry->path().filename();
    int descriptor = -1;
    std::from_chars(name.data(), name.data() + name.size(), descriptor);
    const int flags = fcntl(descriptor, F_GETFD);
    if (flags >= 0 && (flags & FD_CLOEXEC) == 0) use(descriptor, flags);
  }
}

}  // namespace

void noteInheritableDescriptors() {
  eachUnmarked([](int descriptor, int) { inheritable().insert(descriptor); });
}

void markNewDescriptors() {
  eachUnmarked([](int descriptor, int flags) {
    if (!inheritable().contains(descriptor)) fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
  });
}

}  // namespace NimboEngine

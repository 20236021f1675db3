#include "support/session_bus.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace NimboEngine::test {
namespace {

std::filesystem::path makeFolder() {
  std::string name = std::filesystem::temp_directory_path() / "session-XXXXXX";
  return mkdtemp(name.data());
}

}  // namespace

// Set before the tested code starts, and restored when it has ended.
// NOLINTBEGIN(concurrency-mt-unsafe)
Environment::Environment(const std::string& name, const char* value) : name_(name) {
  if (const char* before = getenv(name.c_str())) {
    before_ = before;
    wasSet_ = true;
  }
  if (value) {
    setenv(name.c_str(), value, 1);
  } else {
    unsetenv(name.c_str());
  }
}

Environment::~Environment() {
  if (wasSet_) {
    setenv(name_.c_str(), before_.c_str(), 1);
  } else {
    unsetenv(name_.c_str());
  }
}
// NOLINTEND(concurrency-mt-unsafe)

SessionBus::SessionBus()
    : folder_(makeFolder()),
      address_("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (folder_ / "bus").string()).c_str()),
      runtime_("XDG_RUNTIME_DIR", folder_.c_str()),
      home_("HOME", folder_.c_str()),
      wayland_("WAYLAND_DISPLAY", "wayland-0"),
      display_("DISPLAY", nullptr),
      daemon_(std::make_unique<ChildProcess>(
          std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--nopidfile",
                                   "--address=unix:path=" + (folder_ / "bus").string()})) {
  close(connectToSocket(folder_ / "bus"));
}

SessionBus::~SessionBus() {
  daemon_.reset();
  std::filesystem::remove_all(folder_);
}

int connectToSocket(const std::filesystem::path& file) {
  using namespace std::chrono_literals;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  file.string().copy(address.sun_path, sizeof address.sun_path - 1);
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  for (int i = 0; i < 6000; ++i) {
    // The file is there a moment before its program listens.
    if (connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
      return descriptor;
    }
    std::this_thread::sleep_for(5ms);
  }
  close(descriptor);
  throw std::runtime_error("no program listens at " + file.string());
}

}  // namespace NimboEngine::test

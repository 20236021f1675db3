#include "support/session_bus.h"

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
  waitForFile(folder_ / "bus");
}

SessionBus::~SessionBus() {
  daemon_.reset();
  std::filesystem::remove_all(folder_);
}

void waitForFile(const std::filesystem::path& file) {
  using namespace std::chrono_literals;
  for (int i = 0; i < 6000; ++i) {
    if (std::filesystem::exists(file)) return;
    std::this_thread::sleep_for(5ms);
  }
  throw std::runtime_error("nothing came up at " + file.string());
}

}  // namespace NimboEngine::test

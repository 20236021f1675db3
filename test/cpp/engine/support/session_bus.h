// A session bus of a test's own, in a folder of its own, as a Wayland session without an X server
// would have it.
//
// Thread: one at a time.
// Failure: a bus that does not come up throws std::runtime_error.

#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "support/child_process.h"

namespace NimboEngine::test {

// Sets an environment variable for as long as it lives, or takes it away.
class Environment {
 public:
  Environment(const std::string& name, const char* value);
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const std::string name_;
  std::string before_;
  bool wasSet_ = false;
};

class SessionBus {
 public:
  SessionBus();
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  // For sockets and settings of what else belongs to the session.
  const std::filesystem::path& folder() const { return folder_; }

  void kill() { daemon_.reset(); }

 private:
  const std::filesystem::path folder_;
  const Environment address_;
  const Environment runtime_;
  const Environment home_;
  const Environment wayland_;
  const Environment display_;
  std::unique_ptr<ChildProcess> daemon_;
};

// Waits for a file, a socket for example, that another program makes.
void waitForFile(const std::filesystem::path& file);

}  // namespace NimboEngine::test

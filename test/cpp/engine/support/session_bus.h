// A test's own session bus, in its own folder, like that of a Wayland session without an X server.
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

// Sets or removes an environment variable during its lifetime.
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

  // The folder for sockets and settings of other programs of the session.
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

// Connects to a socket that another program creates, as soon as it listens there. Returns the
// descriptor; throws std::runtime_error when none listens within half a minute.
int connectToSocket(const std::filesystem::path& file);

}  // namespace NimboEngine::test

// A real RTMP server: nginx with its RTMP module on a free loopback port.
//
// Applications: "live" accepts streams, "denied" refuses them, "forbidden" refuses them by the
// server's authorisation (HTTP 403); any other is unknown.
//
// Thread: one at a time.
// Failure: throws std::runtime_error when the server does not come up.

#pragma once

#include <memory>
#include <string>

#include "support/child_process.h"

namespace NimboEngine::test {

class RtmpServer {
 public:
  RtmpServer();
  ~RtmpServer();

  std::string url(const std::string& application = "live", const std::string& stream = "s") const;
  int port() const { return port_; }

  void kill();    // at once, as a crash would
  void freeze();  // it answers no more, but its connections stay
  void thaw();

 private:
  std::string folder_;
  int port_;
  std::unique_ptr<ChildProcess> nginx_;
};

// A TCP port of the loopback interface on which no process currently listens.
int freePort();

// Returns ffprobe's description of a stream, in "compact" form: one line for each of its parts.
std::string probe(const std::string& url);

}  // namespace NimboEngine::test

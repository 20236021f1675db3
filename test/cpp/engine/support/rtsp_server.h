// An RTSP server in the test's process. Its stream, at 25 frames a second, is black and silent
// except for one white frame and 20 ms of a tone that start together, twice a second. All clients
// receive the same stream; the video leaves the server `videoDelay` after the audio.
//
// Thread: any; serves on a thread of its own until it is destroyed.
// Failure: a server that cannot listen throws std::runtime_error.

#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace NimboEngine::test {

class RtspServer {
 public:
  explicit RtspServer(std::chrono::milliseconds videoDelay);
  ~RtspServer();
  RtspServer(const RtspServer&) = delete;
  RtspServer& operator=(const RtspServer&) = delete;

  const std::string& url() const { return url_; }

 private:
  struct Service;

  std::unique_ptr<Service> service_;
  std::string url_;
};

}  // namespace NimboEngine::test

// Broken FLV on its way through a player: the input is what a server answers to a request over
// HTTP, without a length, as live streams come.

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <numeric>
#include <thread>
#include <utility>

#include "base/never_destroyed.h"
#include "fuzz.h"
#include "gst/runtime.h"
#include "play/play_runner.h"

using namespace NimboEngine;
using NimboEngine::test::require;

namespace {

// Answers every request with the body that was last set, on a thread that never ends: a player may
// ask twice.
class Server {
 public:
  Server() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    const bool listens = bind(socket_, plain, length) == 0 && listen(socket_, 8) == 0 &&
                         getsockname(socket_, plain, &length) == 0;
    require(listens, "the server listens");
    port_ = ntohs(address.sin_port);
    std::thread([this] {
      while (true) answer(accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC));
    }).detach();
  }

  int port() const { return port_; }

  void setBody(std::string body) {
    std::lock_guard lock(mutex_);
    body_ = std::move(body);
  }

 private:
  void answer(int connection) {
    std::string request;
    char buffer[1024];
    while (request.find("\r\n\r\n") == std::string::npos) {
      const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
      if (got <= 0) break;
      request.append(buffer, static_cast<std::size_t>(got));
    }
    std::string text = "HTTP/1.0 200 OK\r\nContent-Type: video/x-flv\r\n\r\n";
    {
      std::lock_guard lock(mutex_);
      text += body_;
    }
    for (std::size_t sent = 0; sent < text.size();) {
      const ssize_t taken = send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
      if (taken <= 0) break;
      sent += static_cast<std::size_t>(taken);
    }
    close(connection);
  }

  const int socket_;
  int port_ = 0;
  std::mutex mutex_;
  std::string body_;
};

// Reads every byte that an application may read.
void readFrame(GstBuffer* buffer, const GstVideoInfo& info) {
  require(info.width > 0 && info.height > 0, "a frame has a size");
  GstMapInfo map;
  require(gst_buffer_map(buffer, &map, GST_MAP_READWRITE), "a frame can be changed");
  require(map.size >= GST_VIDEO_INFO_SIZE(&info), "a frame is whole");
  [[maybe_unused]] static volatile unsigned sum = 0;
  sum = std::accumulate(map.data, map.data + map.size, 0u);
  gst_buffer_unmap(buffer, &map);
}

void readAudio(const AudioAligner::Piece& piece) {
  require(piece.samples.size() % static_cast<std::size_t>(kPlayedAudio.channels) == 0,
          "no channel lacks a sample");
  [[maybe_unused]] static volatile int sum = 0;
  sum = std::accumulate(piece.samples.begin(), piece.samples.end(), 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static const bool started = startGstreamer();
  static NeverDestroyed<Server> server;
  require(started, "GStreamer starts");
  server->setBody({reinterpret_cast<const char*>(data), size});

  std::string problem;
  const std::string address = "http://127.0.0.1:" + std::to_string(server->port()) + "/live/s.flv";
  const auto url = parsePlayUrl(address.c_str(), problem);
  auto output = std::make_shared<PlayOutput>(
      PlaySettings{}, PlayOutput::Handlers{.onFrame = readFrame, .onAudio = readAudio});
  std::promise<void> over;
  PlayRunner runner(*url, SourceSettings{}, output,
                    [&over](const PlayOutcome&) { over.set_value(); });
  auto ended = over.get_future();
  if (ended.wait_for(std::chrono::seconds(5)) != std::future_status::ready) {
    runner.requestStop();
    require(ended.wait_for(std::chrono::seconds(5)) == std::future_status::ready,
            "a playback can be stopped");
  }
  output->close();
  return 0;
}

#include "player_rig.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <memory>
#include <numeric>
#include <thread>
#include <utility>

#include "fuzz.h"
#include "gst/runtime.h"
#include "play/play_attempt.h"

namespace NimboEngine::test {
namespace {

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

PlayServer::PlayServer(std::function<void(int connection)> answer) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  const bool listens = bind(listener, plain, length) == 0 && listen(listener, 8) == 0 &&
                       getsockname(listener, plain, &length) == 0;
  require(listens, "the server listens");
  port_ = ntohs(address.sin_port);
  std::thread([listener, answer = std::move(answer)] {
    while (true) {
      const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      // A player that has disconnected silently must not block the next one.
      const timeval limit{.tv_sec = 1, .tv_usec = 0};
      setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
      setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
      answer(connection);
      close(connection);
    }
  }).detach();
}

std::string readRequest(int connection) {
  std::string request;
  char buffer[1024];
  while (request.find("\r\n\r\n") == std::string::npos) {
    const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
    if (got <= 0) return {};
    request.append(buffer, static_cast<std::size_t>(got));
  }
  return request;
}

bool sendAll(int connection, const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t taken = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (taken <= 0) return false;
    sent += static_cast<std::size_t>(taken);
  }
  return true;
}

void playToItsEnd(const std::string& address, std::chrono::milliseconds timeout) {
  static const bool started = startGstreamer();
  require(started, "GStreamer starts");
  const auto url = parsePlayUrl(address.c_str());
  require(url.has_value(), "the address can be played");
  auto output = std::make_shared<DecodedMediaSink>(
      PlaySettings{}, DecodedMediaSink::Handlers{.onFrame = readFrame, .onAudio = readAudio});
  std::promise<void> over;
  PlayAttempt runner(*url, SourceSettings{}, output,
                     [&over](const PlayOutcome&) { over.set_value(); });
  auto ended = over.get_future();
  if (ended.wait_for(timeout) != std::future_status::ready) {
    // Like a player: queued media must not block the pipeline.
    output->close();
    runner.requestStop();
    require(ended.wait_for(std::chrono::seconds(10)) == std::future_status::ready,
            "a playback can be stopped");
  }
  output->close();
}

}  // namespace NimboEngine::test

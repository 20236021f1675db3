// Broken MPEG-TS, playlists, PNG, JPEG, MP4 and Matroska in a player. The input's first byte
// chooses how the rest is announced; a server answers each request with it, those for the segments
// of a playlist too.

#include <array>
#include <mutex>

#include "base/never_destroyed.h"
#include "fuzz.h"
#include "player_rig.h"

using namespace NimboEngine;
using namespace NimboEngine::test;

namespace {

struct Kind {
  const char* type;
  const char* name;
};

constexpr std::array<Kind, 6> kKinds = {{{"video/mp2t", "s.ts"},
                                         {"application/vnd.apple.mpegurl", "s.m3u8"},
                                         {"image/png", "s.png"},
                                         {"image/jpeg", "s.jpg"},
                                         {"video/mp4", "s.mp4"},
                                         {"video/x-matroska", "s.mkv"}}};
constexpr uint8_t kWithLength = 0x80;

std::mutex mutex;
std::string response;

void answer(int connection) {
  readRequest(connection);
  std::unique_lock lock(mutex);
  const std::string text = response;
  lock.unlock();
  sendAll(connection, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static NeverDestroyed<PlayServer> server(answer);
  const Kind& kind = kKinds[(data[0] & ~kWithLength) % kKinds.size()];
  {
    std::lock_guard lock(mutex);
    response = std::string("HTTP/1.0 200 OK\r\nContent-Type: ") + kind.type + "\r\n";
    if ((data[0] & kWithLength) != 0) {
      response += "Content-Length: " + std::to_string(size - 1) + "\r\n";
    }
    response += "\r\n";
    response.append(reinterpret_cast<const char*>(data + 1), size - 1);
  }
  playToItsEnd("http://127.0.0.1:" + std::to_string(server->port()) + "/live/" + kind.name,
               std::chrono::seconds(2));
  return 0;
}

// Broken FLV in a player: the input is a server's response over HTTP, without a length, like a live
// stream.

#include <mutex>
#include <utility>

#include "base/never_destroyed.h"
#include "fuzz.h"
#include "player_rig.h"

using namespace NimboEngine;
using namespace NimboEngine::test;

namespace {

std::mutex mutex;
std::string body;

void answer(int connection) {
  readRequest(connection);
  std::unique_lock lock(mutex);
  const std::string text = "HTTP/1.0 200 OK\r\nContent-Type: video/x-flv\r\n\r\n" + body;
  lock.unlock();
  sendAll(connection, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static NeverDestroyed<PlayServer> server(answer);
  {
    std::lock_guard lock(mutex);
    body.assign(reinterpret_cast<const char*>(data), size);
  }
  playToItsEnd("http://127.0.0.1:" + std::to_string(server->port()) + "/live/s.flv",
               std::chrono::seconds(5));
  return 0;
}

// Data from an RTSP server: the input is its replies, separated by zeros. Each is sent after a
// status line and the sequence number of its request; one that begins with another zero is sent
// unchanged.

#include <mutex>
#include <optional>
#include <regex>
#include <string>

#include "base/never_destroyed.h"
#include "fuzz.h"
#include "player_rig.h"

using namespace NimboEngine;
using namespace NimboEngine::test;

namespace {

std::mutex mutex;
std::string replies;
std::size_t at = 0;

// None at the end.
std::optional<std::string> nextReply() {
  std::lock_guard lock(mutex);
  if (at >= replies.size()) return std::nullopt;
  const std::size_t end = std::min(replies.find('\0', at + 1), replies.size());
  std::string reply = replies.substr(at, end - at);
  at = end + 1;
  return reply;
}

std::string numberOf(const std::string& request) {
  static const std::regex pattern("CSeq: *([0-9]+)", std::regex::icase);
  std::smatch found;
  return std::regex_search(request, found, pattern) ? found[1].str() : "0";
}

void answer(int connection) {
  for (auto request = readRequest(connection); !request.empty();
       request = readRequest(connection)) {
    const auto reply = nextReply();
    if (!reply) return;
    const bool whole = reply->starts_with('\0');
    const std::string head = "RTSP/1.0 200 OK\r\nCSeq: " + numberOf(request) + "\r\n";
    if (!sendAll(connection, whole ? reply->substr(1) : head + *reply)) return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static NeverDestroyed<PlayServer> server(answer);
  {
    std::lock_guard lock(mutex);
    replies.assign(reinterpret_cast<const char*>(data), size);
    at = 0;
  }
  playToItsEnd("rtsp://127.0.0.1:" + std::to_string(server->port()) + "/live/s",
               std::chrono::seconds(1));
  return 0;
}

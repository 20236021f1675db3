// Where to publish: the check that an address makes sense before anything is started.
//
// Thread: any.

#pragma once

#include <optional>
#include <string>

namespace NimboEngine {

struct PushUrl {
  std::string text;  // as given; may end in a secret stream key
  std::string host;
  int port = 0;
  std::string application;

  // For log lines: everything but the stream name and its parameters, which are often secret.
  std::string forLog() const;
};

// Accepts rtmp://host[:port]/application[/more]/stream[?parameters] and the same with rtmps.
// Without a value, `reason` says what is wrong.
std::optional<PushUrl> parsePushUrl(const char* text, std::string& reason);

}  // namespace NimboEngine

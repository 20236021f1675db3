// The URL of a push, and its validation before anything is started.
//
// Thread: any.

#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/result.h"

namespace NimboEngine {

struct PublishProtocol;

struct PushUrl {
  // In milliseconds, since the system clock's own range ends in the year 2262.
  using Time = std::chrono::sys_time<std::chrono::milliseconds>;

  std::string text;  // as given; may end in a secret stream key
  const PublishProtocol* protocol = nullptr;
  std::string host;
  int port = 0;
  std::string application;     // without its query
  std::optional<Time> expiry;  // when its authentication expires, if it says so

  // For log lines: everything but the stream name and its parameters, which are often secret.
  std::string forLog() const;
};

// Accepts what the scheme's protocol accepts.
//
// The first of the parameters "expires", "expire", "exp" and "deadline" whose value is a whole
// number of seconds since 1970 (or of milliseconds, from 10^11 on) is the expiry.
Result<PushUrl> parsePushUrl(const char* text);

// The protocol's part of it for RTMP and RTMPS: everything but `text` and `protocol`. Accepts what
// parseRtmpUrl() does (see rtmp/rtmp_url.h).
Result<PushUrl> parseRtmpPushUrl(const std::string& text);

}  // namespace NimboEngine

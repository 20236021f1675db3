// Takes an RTMP address apart: where to connect, and what to ask for there.
//
// Thread: any.

#pragma once

#include <optional>
#include <string>

namespace NimboEngine {

struct RtmpUrl {
  bool tls = false;
  std::string host;  // an IPv6 address is without its brackets
  int port = 0;
  std::string application;  // with its query, if it has one
  std::string stream;       // with its query
  std::string tcUrl;        // what "connect" names: the address without the stream
};

// Accepts rtmp://host[:port]/application[/more]/stream[?query] and the same with rtmps. The stream
// begins behind the path's last slash, or where "mp4:", "flv:" or "mp3:" names a file. A query
// stays with what it stands on: in rtmp://host/application?token=x/stream that is the application.
// Nothing is decoded. Without a value, `reason` says what is wrong.
std::optional<RtmpUrl> parseRtmpUrl(const std::string& text, std::string& reason);

}  // namespace NimboEngine

// Parses an RTMP address: the server to connect to, and the stream to request there.
//
// Thread: any.

#pragma once

#include <string>

#include "base/result.h"

namespace NimboEngine {

struct RtmpUrl {
  bool tls = false;
  std::string host;  // IPv6 addresses without brackets
  int port = 0;
  std::string application;  // with its query, if it has one
  std::string stream;       // with its query
  std::string tcUrl;        // parameter of "connect": the address without the stream
};

// Accepts rtmp://host[:port]/application[/more]/stream[?query] and the same with rtmps. The stream
// begins after the path's last slash, or at a file name with "mp4:", "flv:" or "mp3:". A query
// stays with the component that it follows: in rtmp://host/application?token=x/stream that is the
// application. Nothing is decoded.
Result<RtmpUrl> parseRtmpUrl(const std::string& text);

}  // namespace NimboEngine

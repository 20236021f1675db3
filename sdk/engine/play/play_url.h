// The URL of a playback, and its validation before anything is started.
//
// Thread: any.

#pragma once

#include <string>

#include "base/result.h"
#include "rtmp/rtmp_url.h"

namespace NimboEngine {

enum class PlayProtocol { kRtmp, kHttp, kRtsp, kSrt, kFile };

struct PlayUrl {
  std::string text;  // as given; for a file its path
  PlayProtocol protocol = PlayProtocol::kFile;
  std::string host;  // empty for a file
  int port = 0;
  std::string channel;  // the path up to its last slash
  std::string stream;   // the rest of the path, without parameters
  RtmpUrl rtmp;         // of RTMP only

  // For log lines: the stream's name and its parameters, which are often secret, are left out.
  std::string forLog() const;
};

// Accepts rtmp, rtmps, http, https, rtsp, srt and file URLs, and absolute paths of files. An srt
// URL may request another mode than "caller" only with `srtListener`.
Result<PlayUrl> parsePlayUrl(const char* text, bool srtListener = false);

}  // namespace NimboEngine

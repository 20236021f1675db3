// Permissions of fetched addresses, and limits on what their servers may send; see
// docs/security.md.
//
// Thread: plain values.

#pragma once

#include <cstddef>

namespace NimboEngine {

struct SourceSettings {
  // A server at a public address may name local ones, in a playlist or a redirect.
  bool localFromPublic = false;
  // An https server may name http addresses.
  bool httpFromHttps = false;
  // An srt address may open a listening socket.
  bool srtListener = false;

  // Of one playlist, and of anything else that is kept whole in memory.
  std::size_t playlistBytes = std::size_t{2} << 20;
  // Of all headers of one response, its status line included.
  std::size_t headerBytes = std::size_t{64} << 10;
  // Of the tags (ID3, APE) in front of media.
  std::size_t tagBytes = std::size_t{8} << 20;
};

}  // namespace NimboEngine

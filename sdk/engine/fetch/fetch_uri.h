// The URI form of addresses inside GStreamer's HLS demultiplexer: the player that fetches, the
// purpose and the origin precede the address itself. Only approved addresses get this form, and the
// source element (fetch_source.h) accepts no other.
//
//   nimbo:7:media:https-public:https://host/segment.ts
//
// Thread: any.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "fetch/source_policy.h"

namespace NimboEngine {

inline constexpr char kFetchScheme[] = "nimbo";

enum class FetchKind {
  kStream,    // requested by the application
  kPlaylist,  // named by a playlist: another playlist ...
  kMedia,     // ... a segment ...
  kMap,       // ... the header of segments ...
  kKey,       // ... or their key
};

struct FetchUri {
  uint64_t player = 0;
  FetchKind kind = FetchKind::kStream;
  MaybeOrigin origin;
  std::string address;  // an http or https address, or the path of a file: it begins with a slash

  bool isFile() const { return address.starts_with('/'); }

  std::string text() const;
};

std::optional<FetchUri> parseFetchUri(const std::string& text);

}  // namespace NimboEngine

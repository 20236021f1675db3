// The form in which addresses travel through GStreamer's HLS demultiplexer: which player fetches,
// what for, and who named the address, in front of the address itself. Only addresses that were
// approved are put into that form, and the source element (fetch_source.h) takes no other.
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
  kStream,    // what the application asked for
  kPlaylist,  // what a playlist names: another playlist ...
  kMedia,     // ... a segment ...
  kMap,       // ... what stands before segments ...
  kKey,       // ... or what they are encrypted with
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

// Checks an HLS playlist before the demultiplexer gets it, and rewrites each address that it names.
//
// The result is generated line by line from the parsed playlist: tags, and the addresses in the
// form that the caller gives them. Comments, and tags with addresses that the demultiplexer does
// not use, are left out. So the demultiplexer, which opens every address that it reads, never reads
// an unchecked one.
//
// Thread: any; keeps no state.

#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/result.h"
#include "fetch/fetch_uri.h"

namespace NimboEngine {

// More addresses than a broadcast of a whole day has.
inline constexpr std::size_t kMostPlaylistEntries = 50'000;
// The limit of a rewritten playlist, in multiples of the limit of the original.
inline constexpr std::size_t kPlaylistGrowth = 8;

// Returns whether `bytes` begin a playlist. None: too few bytes to decide.
std::optional<bool> beginsPlaylist(std::span<const uint8_t> bytes);

// Returns the form in which an address of the playlist is passed on, or why it is refused.
using NameAddress =
    std::function<Result<std::string>(const std::string& reference, FetchKind kind)>;

// `most` limits the size of the result.
Result<std::string> rewritePlaylist(std::string_view text, std::size_t most,
                                    const NameAddress& nameAddress);

}  // namespace NimboEngine

// Checks an HLS playlist before the demultiplexer gets it, and rewrites each address that it names.
//
// What is passed on is written again, line by line, from what was understood: tags, and the
// addresses in the form that the caller gives them. Comments, and tags with addresses that the
// demultiplexer has no use for, are left out. So the demultiplexer, which opens whatever address it
// reads, cannot read one that was not checked.
//
// Thread: any; keeps no state.

#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "fetch/fetch_uri.h"

namespace NimboEngine {

// More addresses than any broadcast of a day has.
inline constexpr std::size_t kMostPlaylistEntries = 50'000;
// What a playlist may grow to in being rewritten, in multiples of its own limit.
inline constexpr std::size_t kPlaylistGrowth = 8;

// Whether that is how a playlist begins. None: too few bytes to tell.
std::optional<bool> beginsPlaylist(std::span<const uint8_t> bytes);

// The form in which an address of the playlist is passed on; none when it is refused, and `error`
// says why.
using NameAddress = std::function<std::optional<std::string>(const std::string& reference,
                                                             FetchKind kind, std::string& error)>;

// `most` is the size of the result at most. Without a value, `error` says what is wrong.
std::optional<std::string> rewritePlaylist(std::string_view text, std::size_t most,
                                           const NameAddress& nameAddress, std::string& error);

}  // namespace NimboEngine

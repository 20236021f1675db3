// Texts whose pointers may be kept: what statistics call a stream.
//
// A text stays where it is, and as it is, until kMostTexts others have been interned; its memory is
// never given back. So a receiver that is behind by thousands of streams reads another stream's
// name, and nobody reads freed memory. Together they take 4 MiB at most.
//
// Thread: any.

#pragma once

#include <cstddef>
#include <string_view>

namespace NimboEngine {

inline constexpr std::size_t kMostTexts = 4096;
// Bytes with the terminating zero. A longer text is cut between two characters and ends with "…".
inline constexpr std::size_t kTextBytes = 1024;

const char* internText(std::string_view text);

}  // namespace NimboEngine

// Interned texts, whose pointers stay valid: the names of streams in statistics.
//
// A text stays unchanged at its address until kMostTexts others have been interned; its memory is
// never freed. A receiver that lags by thousands of streams reads another stream's name, but never
// freed memory. Together they take 4 MiB at most.
//
// Thread: any.

#pragma once

#include <cstddef>
#include <string_view>

namespace NimboEngine {

inline constexpr std::size_t kMostTexts = 4096;
// In bytes, with the terminating zero. A longer text is cut between two characters and ends with
// "…".
inline constexpr std::size_t kTextBytes = 1024;

const char* internText(std::string_view text);

}  // namespace NimboEngine

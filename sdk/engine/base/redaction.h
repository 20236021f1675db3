// Redacts secrets in a text before it leaves the engine in a log line, an error or an event. The
// text may come from anywhere: a server's message, a library's, half of a URL.
//
// Of every URL in it, whole or cut off, plain, percent-encoded or with JSON's "\/", these become
// "…": user and password, the path's last part (RTMP's stream key), other parts of the path that
// look like tokens (20 characters and more, or with "=" or ":"), the values of the query (SRT's
// stream ID and passphrase) and the fragment. Host, port, the rest of the path and the names of the
// query stay. File names ("file://") are not secrets. Outside of URLs the values of "passphrase=",
// "token=" and the like, also as JSON, and of the header fields Authorization and Cookie become
// "…". When in doubt, more is redacted rather than less.
//
// Thread: any; plain functions. Time is linear in the text's length.

#pragma once

#include <string>
#include <string_view>

namespace NimboEngine {

// Only this many bytes of a longer text are examined and returned.
inline constexpr std::size_t kLongestText = 200'000;

std::string redact(std::string_view text);

// The same, and every occurrence of `secret` becomes "…". One of less than 6 bytes stays: it is
// more often a word than a secret.
std::string redact(std::string_view text, std::string_view secret);

// Returns a path without its last segment, for texts that show the parts of a URL separately.
std::string redactPath(std::string_view path);

}  // namespace NimboEngine

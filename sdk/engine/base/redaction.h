// Redaction: takes the secrets out of a text before it leaves the engine in a log line, an error or
// an event. The text may be anybody's: a server's words, a library's, half of a URL.
//
// Of every URL in it, whole or cut off, plain, percent-encoded or with JSON's "\/", these become
// "…": user and password, the path's last part (RTMP's stream key), other parts of the path that
// look like tokens (20 characters and more, or with "=" or ":"), the values of the query (SRT's
// stream ID and passphrase) and the fragment. Host, port, the rest of the path and the names of the
// query stay. Names of files ("file://") are no secrets. Outside of URLs the values of
// "passphrase=", "token=" and the like, also as JSON, and of the header fields Authorization and
// Cookie become "…". Rather too much is taken out than too little.
//
// Thread: any; plain functions. Time is linear in the text's length.

#pragma once

#include <string>
#include <string_view>

namespace NimboEngine {

// Of a longer text only so many bytes are looked at and returned.
inline constexpr std::size_t kLongestText = 200'000;

std::string redact(std::string_view text);

// The same, and `secret` becomes "…" wherever it stands. One of less than 6 bytes stays: it is a
// word more often than a secret.
std::string redact(std::string_view text, std::string_view secret);

// A path without its last part, for texts that name a URL in parts.
std::string redactPath(std::string_view path);

}  // namespace NimboEngine

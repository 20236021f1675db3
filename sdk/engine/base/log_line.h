// A line of the log: "time [level] [tag] [thread] file:line function text".
//
// The text is redacted (see base/redaction.h), its control characters are written as "\n", "\x1b"
// or "\u0085", so that it can neither begin a line of its own nor steer a terminal, and it is cut
// after kLongestText bytes.
//
// Thread: any; plain functions.

#pragma once

#include <string>
#include <string_view>

namespace NimboEngine {

struct LogSite {
  const char* file;
  const char* function;
  int line;
};

// Formats a line of the calling thread with the current time.
std::string logLine(int level, const char* tag, const LogSite& site, std::string_view text);

// Returns the text as a line shows it.
std::string logText(std::string_view text);

}  // namespace NimboEngine

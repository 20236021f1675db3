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

// Of the calling thread, now.
std::string logLine(int level, const char* tag, const LogSite& site, std::string_view text);

// What a line shows of a text.
std::string logText(std::string_view text);

}  // namespace NimboEngine

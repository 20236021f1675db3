// Records the calls of a test plug-in for the test: one line per call in the file that the
// environment variable LUMO_PLUGIN_LOG named when the library was opened. Without it nothing is
// recorded. The opening and the closing of the library are recorded as "open" and "close".
//
// A line holds the plug-in's name, the call, its argument, and the thread, "loader" for the one
// that opened the library and "other" for all others, separated by tabs.
//
// Thread: any; lines of several threads do not mix.
// Failure: a file that cannot be written gets no lines.

#pragma once

#include <string>

namespace TestPlugins {

void record(const char* call, const std::string& argument = {});

}  // namespace TestPlugins

// Whether the operating system lets this process do any more.
//
// GLib and GStreamer end the process, or crash, where they get no descriptor or thread. So what is
// about to need some looks first, and is refused with a reason where there are too few. What else
// the process takes meanwhile may still bring that about.
//
// Thread: any. Takes a millisecond: it counts descriptors and starts threads for a moment.

#pragma once

#include <string>

namespace NimboEngine {

// What a preview, a push or a player needs at most, with some to spare: most of it is GStreamer's.
inline constexpr int kNeededDescriptors = 96;
inline constexpr int kNeededThreads = 16;

// For steps that come later than the start, such as another connection.
bool areDescriptorsLeft(int count);

// What is missing, as a reason; empty where there is enough.
std::string missingCapacity();

}  // namespace NimboEngine

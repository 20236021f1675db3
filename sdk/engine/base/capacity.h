// Checks whether the operating system grants this process further descriptors and threads.
//
// GLib and GStreamer end the process, or crash, when they cannot get a descriptor or thread. So an
// operation that is about to need some checks first, and is refused with an error when there are
// too few. Whatever else in the process uses them up meanwhile may still cause the crash.
//
// Thread: any. Takes about a millisecond: it opens descriptors and starts threads briefly.

#pragma once

#include "base/result.h"

namespace NimboEngine {

// The most that a preview, a push or a player needs, with a margin; GStreamer uses most of it.
inline constexpr int kNeededDescriptors = 96;
inline constexpr int kNeededThreads = 16;

// For later steps than the start, such as another connection.
bool areDescriptorsLeft(int count);

// Fails with kLumoLiveErrorNoCapacity and what is missing, unless there is enough.
Result<void, LumoRtc::LumoLiveErrorCode> checkCapacity();

}  // namespace NimboEngine

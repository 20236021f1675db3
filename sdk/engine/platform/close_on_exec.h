// Keeps descriptors from the programs that the application starts.
//
// The engine's own are opened with O_CLOEXEC. GStreamer's are not all: each of its buses holds a
// pair of sockets without it, and so do file sources. They cannot be opened in another way, so they
// are marked once they are there. Marked are all descriptors of the process that came without the
// mark after the start; Node and Chromium never open one like that.
//
// Thread: any.
// Failure: descriptors stay unmarked where /proc cannot be read.

#pragma once

namespace NimboEngine {

// Once, before libraries open anything: descriptors that are inheritable now stay so.
void noteInheritableDescriptors();

// Marks what has come since.
void markNewDescriptors();

}  // namespace NimboEngine

// Prevents child processes of the application from inheriting descriptors.
//
// The engine's own are opened with O_CLOEXEC. GStreamer's are not all: each of its buses holds a
// pair of sockets without it, and so do file sources. They cannot be opened differently, so they
// are marked afterwards. All descriptors of the process that were opened unmarked after the start
// are marked; Node and Chromium never open one like that.
//
// Thread: any.
// Failure: descriptors stay unmarked where /proc cannot be read.

#pragma once

namespace NimboEngine {

// To be called once, before libraries open anything: descriptors that are inheritable now stay so.
void noteInheritableDescriptors();

// Marks the descriptors opened since.
void markNewDescriptors();

}  // namespace NimboEngine

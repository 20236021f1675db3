// Starts GStreamer, once, and reports which of its elements are missing.
//
// Thread: any.
// Ownership: none; GStreamer stays loaded until the process ends.

#pragma once

#include <span>
#include <string>

namespace NimboEngine {

// An element that the engine uses, and the Debian package that contains it.
struct NeededElement {
  const char* factory;
  const char* package;
};

std::span<const NeededElement> neededElements();

// Starts GStreamer at the first call, loads all needed elements, and logs each missing one with the
// name of its package. That takes about 0.15 s, half a second more on a machine where GStreamer
// never ran. Returns false if GStreamer itself cannot start.
bool startGstreamer();

// Returns the needed elements that are missing, each with its package; empty if all are there.
// GStreamer must have been started.
std::string missingElements();

// Returns whether an element of `factory` can be created. GStreamer must have been started.
bool haveElement(const std::string& factory);

}  // namespace NimboEngine

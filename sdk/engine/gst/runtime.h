// Starting GStreamer, once, and knowing which of its elements are there.
//
// Thread: any.
// Ownership: none; GStreamer stays loaded until the process ends.

#pragma once

#include <span>
#include <string>

namespace NimboEngine {

// An element that the engine uses, and the Debian package that brings it.
struct NeededElement {
  const char* factory;
  const char* package;
};

std::span<const NeededElement> neededElements();

// Starts GStreamer at the first call, loads all needed elements, and logs each missing one with the
// name of its package. That takes about 0.15 s, half a second more on a machine where GStreamer
// never ran. False when GStreamer itself cannot start.
bool startGstreamer();

// The needed elements that are missing, each with its package; empty when all are there. GStreamer
// must have been started.
std::string missingElements();

// Whether `factory` can be made. GStreamer must have been started.
bool haveElement(const std::string& factory);

}  // namespace NimboEngine

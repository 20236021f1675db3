// Starts GStreamer, once, and reports which of its elements are missing.
//
// Thread: any.
// Ownership: none; GStreamer stays loaded until the process ends.

#pragma once

#include <span>
#include <string>

#include "base/result.h"
#include "generated/element_table.h"

namespace NimboEngine {

enum class Feature {
#define NIMBO_FEATURE(name) name,
  NIMBO_FEATURE_TABLE(NIMBO_FEATURE)
#undef NIMBO_FEATURE
};

// An element that the engine uses, the Debian package that contains it, and the element that serves
// in its place; empty if none does.
struct NeededElement {
  Feature feature;
  const char* factory;
  const char* package;
  const char* alternative;
};

std::span<const NeededElement> neededElements();

// Starts GStreamer at the first call, loads all needed elements, and logs each missing one with the
// name of its package. That takes about 0.15 s, half a second more on a machine where GStreamer
// never ran. Returns false if GStreamer itself cannot start.
bool startGstreamer();

// Fails with kLumoLiveErrorComponentMissing and the missing elements of these features, each with its
// package. GStreamer must have been started.
Result<void, LumoRtc::LumoLiveErrorCode> checkElements(std::span<const Feature> features);

// Returns whether an element of `factory` can be created. GStreamer must have been started.
bool haveElement(const std::string& factory);

}  // namespace NimboEngine

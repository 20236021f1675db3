// How long a player may hold live media back so that they are presented evenly and in sync.

#pragma once

#include <chrono>

namespace NimboEngine {

struct LatencySettings {
  // Bounds of the jitter buffer. What the audio output itself needs comes on top of it.
  std::chrono::milliseconds minimum{20};
  std::chrono::milliseconds maximum{600};
  // Video frames are presented as soon as they are decoded; audio stays whole, and so comes later.
  bool lowest = false;
};

}  // namespace NimboEngine

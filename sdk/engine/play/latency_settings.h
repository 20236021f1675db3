// Latency settings: how long a player may buffer live media to present them evenly and in sync.

#pragma once

#include <chrono>

namespace NimboEngine {

struct LatencySettings {
  // Bounds of the jitter buffer. The audio output's own latency is added to it.
  std::chrono::milliseconds minimum{20};
  std::chrono::milliseconds maximum{600};
  // Video frames are presented as soon as they are decoded; audio stays continuous, and so is
  // later.
  bool lowest = false;
};

}  // namespace NimboEngine

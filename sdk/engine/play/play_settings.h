// The settings of players.

#pragma once

#include <cstdint>

#include "fetch/source_settings.h"
#include "play/latency_settings.h"

namespace NimboEngine {

struct PlayLimits {
  // The largest frame of H.264's level 5.2: 4096x2304. A decoder keeps up to twenty frames.
  uint64_t maxFramePixels = uint64_t{4096} * 2304;
  // Bytes that have arrived and are not decoded. The largest key frames have about 3 MB. The
  // element that buffers them, a parser for example, may take four times as much memory.
  uint64_t maxQueuedBytes = uint64_t{12} * 1024 * 1024;
};

struct PlaySettings {
  LatencySettings latency;
  PlayLimits limits;
  SourceSettings sources;
};

}  // namespace NimboEngine

// The two kinds of media that a player presents, and the format of presented audio.

#pragma once

#include "media/frame_consumer.h"

namespace NimboEngine {

enum class Media { kVideo, kAudio };

// Format of presented audio: interleaved 16-bit samples.
inline constexpr AudioFormat kPlayedAudio{48000, 2};

}  // namespace NimboEngine

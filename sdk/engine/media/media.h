// The two kinds of media that a player presents, and the shape in which audio is presented.

#pragma once

#include "media/frame_consumer.h"

namespace NimboEngine {

enum class Media { kVideo, kAudio };

// Audio as it is presented: interleaved 16-bit samples.
inline constexpr AudioFormat kPlayedAudio{48000, 2};

}  // namespace NimboEngine

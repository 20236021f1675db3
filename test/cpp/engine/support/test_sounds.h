// Sound made of numbers: speech-like, noise, tones. Every sample is computed, so that a test hears
// the same each time.
//
// Thread: any.

#pragma once

#include <cstdint>
#include <vector>

namespace NimboEngine::test {

// 16-bit samples of one channel.
using Sound = std::vector<int16_t>;

// `level` is the peak's share of full scale.
Sound tone(int rate, double seconds, double frequency, double level);

// Low-passed by `colour`: 0 is white, towards 1 it becomes darker.
Sound noise(int rate, double seconds, double level, double colour = 0);

// What a voice does that a tone does not: a rich, gliding pitch, formants that change with every
// syllable, four of them a second, and gaps between.
Sound speech(int rate, double seconds, double level);

Sound joined(Sound first, const Sound& second);

// The same sample in every channel.
Sound inChannels(const Sound& sound, int channels);

}  // namespace NimboEngine::test

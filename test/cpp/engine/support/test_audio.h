// Synthetic audio: speech-like, noise, tones. Every sample is computed, so that it is the same in
// each run.
//
// Thread: any.

#pragma once

#include <cstdint>
#include <vector>

namespace NimboEngine::test {

// 16-bit samples of one channel.
using Samples = std::vector<int16_t>;

// `level` is the peak's share of full scale.
Samples tone(int rate, double seconds, double frequency, double level);

// Low-passed by `colour`: 0 is white, towards 1 it becomes darker.
Samples noise(int rate, double seconds, double level, double colour = 0);

// The properties of a voice that a tone lacks: a rich, gliding pitch, formants that change with
// every syllable, four of them a second, and gaps between.
Samples speech(int rate, double seconds, double level);

Samples joined(Samples first, const Samples& second);

// The same sample in every channel.
Samples inChannels(const Samples& mono, int channels);

}  // namespace NimboEngine::test

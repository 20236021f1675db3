// Smooths the results of a voice detector: voice begins after a run of positive results, longer
// than a click or a single false positive, and lasts through the pauses between words.
//
// Thread: one at a time.

#pragma once

namespace NimboEngine {

class VoiceHold {
 public:
  // Counted in results of the detector, one for each 10 ms of audio.
  static constexpr int kOnset = 10;
  static constexpr int kHold = 30;

  // Takes the detector's result for the next 10 ms. Returns whether there is speech.
  bool update(bool voice) {
    inARow_ = voice ? inARow_ + 1 : 0;
    if (inARow_ >= kOnset || (held_ > 0 && voice)) {
      held_ = kHold;
    } else if (held_ > 0) {
      --held_;
    }
    return held_ > 0;
  }

 private:
  int inARow_ = 0;
  int held_ = 0;
};

}  // namespace NimboEngine

// Makes a steady statement of a detector's flickering one: voice begins when it has been heard
// without a break for a moment, which a click or a single wrong verdict is not, and lasts through
// the pauses between words.
//
// Thread: one at a time.

#pragma once

namespace NimboEngine {

class VoiceHold {
 public:
  // Counted in verdicts of the detector, one for each 10 ms of sound.
  static constexpr int kOnset = 10;
  static constexpr int kHold = 30;

  // Takes the verdict on the next 10 ms. Whether somebody speaks.
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

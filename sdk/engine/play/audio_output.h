// Plays audio on the system's default output, each piece at its presentation time. Without an
// output, or after it was removed, audio is dropped.
//
// Thread: push() on one thread; it never blocks. Everything else on one other thread.
// Ownership: owns its pipeline, which opens the output on a thread of its own; one that hangs is
//   detached.
// Failure: logged, once.

#pragma once

#include <memory>
#include <optional>

#include "gst/source_runner.h"
#include "media/audio_aligner.h"

namespace NimboEngine {

class AudioOutput {
 public:
  AudioOutput();
  ~AudioOutput();
  AudioOutput(const AudioOutput&) = delete;
  AudioOutput& operator=(const AudioOutput&) = delete;

  // Opens the output.
  void open();

  // To be called PresentationClock::kAudioLead before the piece's presentation time. Dropped while
  // the output is not open.
  void push(const AudioAligner::Piece& piece);

 private:
  class Input;
  class Sink;

  const std::shared_ptr<Input> input_;
  std::optional<SourceRunner> runner_;
};

}  // namespace NimboEngine

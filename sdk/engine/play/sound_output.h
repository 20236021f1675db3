// Plays sound on the system's default output. Where there is none, or it goes away, the sound is
// dropped.
//
// Thread: push() on one thread, which never waits: sound that comes faster than it is played pushes
//   the oldest out. Everything else on one other thread.
// Ownership: owns its pipeline, which opens the output on a thread of its own; one that hangs is
//   left behind.
// Failure: logged, once.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "capture/source_runner.h"

namespace NimboEngine {

class SoundOutput {
 public:
  SoundOutput();
  ~SoundOutput();
  SoundOutput(const SoundOutput&) = delete;
  SoundOutput& operator=(const SoundOutput&) = delete;

  // Opens the output.
  void open();

  // `count` interleaved samples as kPlayedSound says. Dropped while the output is not open.
  void push(const int16_t* samples, std::size_t count);

 private:
  class Inlet;
  class Sink;

  const std::shared_ptr<Inlet> inlet_;
  std::optional<SourceRunner> runner_;
};

}  // namespace NimboEngine

// Makes one continuous audio stream out of decoded chunks with presentation times: if the times
// drift against the number of samples, it resamples by 0.5 % at most; if they jump, it leaves a gap
// or drops samples, without a click. Within the first two seconds a smaller difference counts as a
// jump.
//
// Thread: one at a time.
// Ownership: owns the resampler; returns its own memory, valid until the next call.
// Failure: none.

#pragma once

#include <gst/audio/audio.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "media/media.h"

namespace NimboEngine {

class AudioAligner {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::nanoseconds;

  // Samples to be presented from `moment` on; contiguous with the previous piece unless the times
  // jumped. Interleaved, in the format kPlayedAudio; may be empty.
  struct Piece {
    std::span<int16_t> samples;
    Time moment;
  };

  AudioAligner();

  // `samples` are to be presented from `moment` on.
  Piece align(std::span<const int16_t> samples, Time moment);

  // How much later than requested the next sample will be presented; negative: earlier.
  Duration error() const { return error_; }

  // The time after the last sample; none before the first.
  std::optional<Time> end() const { return next_; }

 private:
  struct FreeResampler {
    void operator()(GstAudioResampler* resampler) const { gst_audio_resampler_free(resampler); }
  };

  void restart(Time moment);
  void resample(std::span<const int16_t> samples);
  Duration drift(Duration ahead, std::size_t frames);
  void setCorrection(Duration ahead);
  void fadeIn();

  int correction_ = 1;  // frames added in about a second; never 0
  std::unique_ptr<GstAudioResampler, FreeResampler> resampler_;
  std::vector<int16_t> out_;
  std::optional<Time> next_;  // of the next sample
  Duration error_{0};
  Duration drift_{0};
  Duration delivered_{0};  // in total
  bool begins_ = true;
};

}  // namespace NimboEngine

// Adds the sound of remote streams to the local one.
//
// Thread: one at a time.
// Ownership: shares the streams that it was given last.
// Failure: a stream whose sound cannot be converted is not heard.

#pragma once

#include <gst/audio/audio.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "media/frame_consumer.h"
#include "players/remote_stream.h"

namespace NimboEngine {

class AudioMix {
 public:
  // Adds what the streams play from `moment` on to `frames` frames of interleaved samples; what
  // would be too loud is cut. A stream that is named twice is heard once.
  void add(const std::vector<std::shared_ptr<RemoteStream>>& streams, const AudioFormat& format,
           AudioTimeline::Time moment, int16_t* samples, std::size_t frames);

 private:
  struct FreeConverter {
    void operator()(GstAudioConverter* converter) const { gst_audio_converter_free(converter); }
  };
  // A stream that is heard, and what brings its sound into the wanted format.
  struct Voice {
    std::shared_ptr<RemoteStream> stream;
    std::unique_ptr<GstAudioConverter, FreeConverter> converter;
    AudioTimeline::Time next{};  // of the next sample that the converter is given
  };

  static Voice makeVoice(const std::shared_ptr<RemoteStream>& stream, const AudioFormat& format);
  void follow(const std::vector<std::shared_ptr<RemoteStream>>& streams);
  void pull(Voice& voice, AudioTimeline::Time moment, std::size_t frames);

  AudioFormat format_;
  std::vector<Voice> voices_;
  std::vector<int16_t> played_;     // as it is played
  std::vector<int16_t> converted_;  // as it is wanted
  std::vector<int> sum_;
};

}  // namespace NimboEngine

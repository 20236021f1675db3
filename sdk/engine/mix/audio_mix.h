// Adds the audio of remote streams to the local audio.
//
// Thread: one at a time.
// Ownership: shares the streams of the last call.
// Failure: a stream whose audio cannot be converted is left out.

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
  // Adds what the streams play from `moment` on to `frames` frames of interleaved samples; the sum
  // is clipped. A stream that is named twice is added once.
  void add(const std::vector<std::shared_ptr<RemoteStream>>& streams, const AudioFormat& format,
           AudioTimeline::Time moment, int16_t* samples, std::size_t frames);

 private:
  struct FreeConverter {
    void operator()(GstAudioConverter* converter) const { gst_audio_converter_free(converter); }
  };
  // A stream in the mix, and the converter from its audio to the output format.
  struct Voice {
    std::shared_ptr<RemoteStream> stream;
    std::unique_ptr<GstAudioConverter, FreeConverter> converter;
    AudioTimeline::Time next{};  // of the converter's next input sample
  };

  static Voice makeVoice(const std::shared_ptr<RemoteStream>& stream, const AudioFormat& format);
  void follow(const std::vector<std::shared_ptr<RemoteStream>>& streams);
  void pull(Voice& voice, AudioTimeline::Time moment, std::size_t frames);

  AudioFormat format_;
  std::vector<Voice> voices_;
  std::vector<int16_t> played_;     // as played
  std::vector<int16_t> converted_;  // in the output format
  std::vector<int> sum_;
};

}  // namespace NimboEngine

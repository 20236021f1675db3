// Detects speech in audio, with the voice detector of WebRTC's audio processing. Steady noise and
// tones, which the detector alone would classify as voice, are suppressed first; recognising them
// as steady takes a second at most. Loud rumbling may still count as voice.
//
// Thread: one at a time.
// Failure: audio that cannot be analysed counts as no voice.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "audio/voice_hold.h"
#include "media/frame_consumer.h"

namespace webrtc {
class AudioProcessing;
}

namespace NimboEngine {

class VoiceDetector {
 public:
  explicit VoiceDetector(const AudioFormat& format);
  ~VoiceDetector();
  VoiceDetector(const VoiceDetector&) = delete;
  VoiceDetector& operator=(const VoiceDetector&) = delete;

  const AudioFormat& format() const { return format_; }

  // Processes `count` interleaved samples. Returns whether they contained speech, see VoiceHold.
  bool process(const int16_t* samples, std::size_t count);

 private:
  bool judgeFrame();

  const AudioFormat format_;
  const std::unique_ptr<webrtc::AudioProcessing> processing_;
  const std::size_t frameLength_;  // samples of 10 ms, one channel
  std::vector<float> frame_;       // the next 10 ms, as far as received
  std::vector<float> processed_;
  VoiceHold hold_;
};

}  // namespace NimboEngine

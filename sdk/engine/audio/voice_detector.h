// Tells speech from other sound, with the voice detector of WebRTC's audio processing. Steady noise
// and tones are taken out first, which the detector alone would take for voice; finding out that
// they are steady takes a second at most. Loud rumbling may stay voice.
//
// Thread: one at a time.
// Failure: sound that cannot be judged is no voice.

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

  // Takes `count` interleaved samples. Whether somebody spoke during them, see VoiceHold.
  bool process(const int16_t* samples, std::size_t count);

 private:
  bool judgeFrame();

  const AudioFormat format_;
  const std::unique_ptr<webrtc::AudioProcessing> processing_;
  const std::size_t frameLength_;  // samples of 10 ms, one channel
  std::vector<float> frame_;       // the next 10 ms, as far as they have come
  std::vector<float> processed_;
  VoiceHold hold_;
};

}  // namespace NimboEngine

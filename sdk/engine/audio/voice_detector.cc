#include "audio/voice_detector.h"

#include <webrtc/modules/audio_processing/include/audio_processing.h>

#include <limits>

namespace NimboEngine {
namespace {

using webrtc::AudioProcessing;
using webrtc::StreamConfig;

// Enough for speech, and the least work.
constexpr int kProcessedRate = 16000;
constexpr float kFullScale = -static_cast<float>(std::numeric_limits<int16_t>::min());

// These levels were chosen by experiment: sentences that peak at -40 dBFS counted as voice from
// start to end; noise that peaks at -30 dBFS did not, whatever its spectrum. The next lower
// likelihood misses sentences that peak at -30 dBFS, less suppression mistakes more kinds of loud
// noise for voice.
AudioProcessing* makeProcessing() {
  AudioProcessing* processing = AudioProcessing::Create();
  processing->high_pass_filter()->Enable(true);
  processing->noise_suppression()->set_level(webrtc::NoiseSuppression::kVeryHigh);
  processing->noise_suppression()->Enable(true);
  processing->voice_detection()->set_likelihood(webrtc::VoiceDetection::kLowLikelihood);
  processing->voice_detection()->Enable(true);
  return processing;
}

}  // namespace

VoiceDetector::VoiceDetector(const AudioFormat& format)
    : format_(format),
      processing_(makeProcessing()),
      frameLength_(static_cast<std::size_t>(format.rate / 100)),
      processed_(kProcessedRate / 100) {}

VoiceDetector::~VoiceDetector() = default;

bool VoiceDetector::process(const int16_t* samples, std::size_t count) {
  const auto channels = static_cast<std::size_t>(format_.channels);
  bool spoke = false;
  for (std::size_t i = 0; i + channels <= count; i += channels) {
    float sum = 0;
    for (std::size_t channel = 0; channel < channels; ++channel) {
      sum += static_cast<float>(samples[i + channel]);
    }
    frame_.push_back(sum / kFullScale / static_cast<float>(channels));
    if (frame_.size() < frameLength_) continue;
    spoke = hold_.update(judgeFrame()) || spoke;
    frame_.clear();
  }
  return spoke;
}

bool VoiceDetector::judgeFrame() {
  const float* in = frame_.data();
  float* out = processed_.data();
  const int result = processing_->ProcessStream(&in, StreamConfig(format_.rate, 1),
                                                StreamConfig(kProcessedRate, 1), &out);
  return result == AudioProcessing::kNoError && processing_->voice_detection()->stream_has_voice();
}

}  // namespace NimboEngine

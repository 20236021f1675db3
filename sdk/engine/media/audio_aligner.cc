#include "media/audio_aligner.h"

#include <algorithm>
#include <utility>

#include "gst/gst_ptr.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using Duration = AudioAligner::Duration;

constexpr auto kChannels = static_cast<std::size_t>(kPlayedAudio.channels);
// Beyond this, resampling would take too long to correct it.
constexpr Duration kJump = 30ms;
// At first little audio has been played that a jump could disturb, and the presentation times
// settle.
constexpr Duration kSettlingJump = 5ms;
constexpr Duration kSettling = 2s;
// A difference is corrected with this time constant, unless that would exceed the largest
// correction. Rounded time stamps vary the pitch by less than a cent.
constexpr auto kTimeConstant = 1s;
constexpr int kMostCorrection = kPlayedAudio.rate / 200;
constexpr Duration kMostDrift = Duration(kTimeConstant) / 200;
// Ratios are set with this as the resampler's input rate, since it loses its phase, with a click,
// when a change gives the two rates another common divisor. A prime has none, and the output rate
// is never equal to it.
constexpr int kPrimeRate = 47981;
constexpr std::size_t kFadeFrames = kPlayedAudio.rate / 200;

Duration lengthOf(std::size_t frames) {
  return Duration(static_cast<int64_t>(frames) * 1'000'000'000 / kPlayedAudio.rate);
}

std::size_t framesIn(Duration length) {
  return static_cast<std::size_t>(length.count() * kPlayedAudio.rate / 1'000'000'000);
}

// Linear interpolation of the filter leaves distortion 76 dB below a tone, cubic 83 dB, at one and
// a half times the cost.
GstAudioResampler* newResampler(int correction) {
  constexpr auto kMethod = GST_AUDIO_RESAMPLER_METHOD_KAISER;
  const GstPtr<GstStructure> options(
      gst_structure_new("options", GST_AUDIO_RESAMPLER_OPT_FILTER_INTERPOLATION,
                        GST_TYPE_AUDIO_RESAMPLER_FILTER_INTERPOLATION,
                        GST_AUDIO_RESAMPLER_FILTER_INTERPOLATION_LINEAR, nullptr));
  gst_audio_resampler_options_set_quality(kMethod, GST_AUDIO_RESAMPLER_QUALITY_DEFAULT, kPrimeRate,
                                          kPrimeRate + correction, options.get());
  return gst_audio_resampler_new(kMethod, GST_AUDIO_RESAMPLER_FLAG_VARIABLE_RATE,
                                 GST_AUDIO_FORMAT_S16, kPlayedAudio.channels, kPrimeRate,
                                 kPrimeRate + correction, options.get());
}

}  // namespace

AudioAligner::AudioAligner() : resampler_(newResampler(correction_)) {}

AudioAligner::Piece AudioAligner::align(std::span<const int16_t> samples, Time moment) {
  if (!next_) restart(moment);
  // The resampler holds back samples until it has received the following ones.
  const Time expected =
      *next_ + (begins_ ? 0ns : lengthOf(gst_audio_resampler_get_max_latency(resampler_.get())));
  const Duration jump = delivered_ < kSettling ? kSettlingJump : kJump;
  Duration ahead = moment - expected;
  if (ahead > jump) {
    restart(moment);
    ahead = 0ns;
  } else if (ahead < -jump) {
    const std::size_t surplus = std::min(framesIn(-ahead), samples.size() / kChannels);
    samples = samples.subspan(surplus * kChannels);
    error_ = -ahead;
    if (samples.empty()) return {{}, *next_};
    restart(*next_);
    ahead = 0ns;
  }
  error_ = -ahead;
  setCorrection(ahead + drift(ahead, samples.size() / kChannels));
  resample(samples);
  if (std::exchange(begins_, false)) fadeIn();
  const Time start = *next_;
  const Duration length = lengthOf(out_.size() / kChannels);
  *next_ += length;
  delivered_ += length;
  return {out_, start};
}

void AudioAligner::restart(Time moment) {
  gst_audio_resampler_reset(resampler_.get());
  next_ = moment;
  begins_ = true;
}

// The integral term of the correction, so that no difference remains while the times keep drifting.
// It is updated while the correction is within its limit, as fast as possible without overshoot.
Duration AudioAligner::drift(Duration ahead, std::size_t frames) {
  if (std::chrono::abs(ahead) <= kMostDrift) {
    drift_ += Duration(ahead.count() * lengthOf(frames) / Duration(4 * kTimeConstant));
    drift_ = std::clamp(drift_, -kMostDrift, kMostDrift);
  }
  return drift_;
}

void AudioAligner::setCorrection(Duration ahead) {
  const auto wanted = ahead * kPlayedAudio.rate / Duration(kTimeConstant);
  int correction = static_cast<int>(std::clamp<int64_t>(wanted, -kMostCorrection, kMostCorrection));
  if (correction == 0) correction = ahead < 0ns ? -1 : 1;
  if (std::exchange(correction_, correction) == correction) return;
  gst_audio_resampler_update(resampler_.get(), kPrimeRate, kPrimeRate + correction, nullptr);
}

void AudioAligner::resample(std::span<const int16_t> samples) {
  const std::size_t frames = samples.size() / kChannels;
  const std::size_t made = gst_audio_resampler_get_out_frames(resampler_.get(), frames);
  out_.resize(made * kChannels);
  // The resampler only reads its input, though its interface is not const.
  gpointer in = const_cast<int16_t*>(samples.data());
  gpointer out = out_.data();
  gst_audio_resampler_resample(resampler_.get(), &in, frames, &out, made);
}

void AudioAligner::fadeIn() {
  const std::size_t frames = std::min(kFadeFrames, out_.size() / kChannels);
  for (std::size_t i = 0; i < frames * kChannels; ++i) {
    out_[i] = static_cast<int16_t>(out_[i] * static_cast<int>(i / kChannels) /
                                   static_cast<int>(kFadeFrames));
  }
}

}  // namespace NimboEngine

#include "mix/audio_mix.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

#include "media/media.h"

namespace NimboEngine {
namespace {

// A converter is ahead by the samples that it buffers, which is less.
constexpr std::chrono::milliseconds kJump{5};

GstAudioInfo infoOf(const AudioFormat& format) {
  GstAudioInfo info;
  gst_audio_info_set_format(&info, GST_AUDIO_FORMAT_S16, format.rate, format.channels, nullptr);
  return info;
}

int16_t cut(int sample) {
  using Limits = std::numeric_limits<int16_t>;
  return static_cast<int16_t>(std::clamp<int>(sample, Limits::min(), Limits::max()));
}

// Returns how many input frames the converter needs for `frames`: at first it buffers some.
std::size_t framesFor(GstAudioConverter* converter, std::size_t frames) {
  std::size_t needed = gst_audio_converter_get_in_frames(converter, frames);
  while (gst_audio_converter_get_out_frames(converter, needed) < frames) ++needed;
  return needed;
}

}  // namespace

void AudioMix::add(const std::vector<std::shared_ptr<RemoteStream>>& streams,
                   const AudioFormat& format, AudioTimeline::Time moment, int16_t* samples,
                   std::size_t frames) {
  if (std::exchange(format_, format) != format) voices_.clear();
  follow(streams);
  sum_.assign(samples, samples + frames * static_cast<std::size_t>(format.channels));
  for (Voice& voice : voices_) {
    pull(voice, moment, frames);
    std::transform(sum_.begin(), sum_.end(), converted_.begin(), sum_.begin(), std::plus<>());
  }
  std::transform(sum_.begin(), sum_.end(), samples, &cut);
}

void AudioMix::follow(const std::vector<std::shared_ptr<RemoteStream>>& streams) {
  std::vector<Voice> voices;
  for (const auto& stream : streams) {
    const auto isOf = [&](const Voice& voice) { return voice.stream == stream; };
    if (std::any_of(voices.begin(), voices.end(), isOf)) continue;
    const auto known = std::find_if(voices_.begin(), voices_.end(), isOf);
    voices.push_back(known == voices_.end() ? makeVoice(stream, format_) : std::move(*known));
  }
  voices_ = std::move(voices);
}

AudioMix::Voice AudioMix::makeVoice(const std::shared_ptr<RemoteStream>& stream,
                                    const AudioFormat& format) {
  GstAudioInfo in = infoOf(kPlayedAudio);
  GstAudioInfo out = infoOf(format);
  return {stream,
          std::unique_ptr<GstAudioConverter, FreeConverter>(
              gst_audio_converter_new(GST_AUDIO_CONVERTER_FLAG_NONE, &in, &out, nullptr)),
          {}};
}

// Continues where the last read ended: chunks of some rates have two lengths, and the converter
// buffers samples. A jump in time is followed immediately.
void AudioMix::pull(Voice& voice, AudioTimeline::Time moment, std::size_t frames) {
  converted_.assign(frames * static_cast<std::size_t>(format_.channels), 0);
  if (!voice.converter) return;
  const std::size_t needed = framesFor(voice.converter.get(), frames);
  played_.resize(needed * static_cast<std::size_t>(kPlayedAudio.channels));
  if (std::chrono::abs(voice.next - moment) > kJump) voice.next = moment;
  voice.stream->audioAt(voice.next, played_);
  voice.next +=
      std::chrono::nanoseconds(static_cast<int64_t>(needed) * 1'000'000'000 / kPlayedAudio.rate);
  gpointer in = played_.data();
  gpointer out = converted_.data();
  gst_audio_converter_samples(voice.converter.get(), GST_AUDIO_CONVERTER_FLAG_NONE, &in, needed,
                              &out, frames);
}

}  // namespace NimboEngine

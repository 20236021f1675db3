#include "mix/live_mixer.h"

#include <utility>
#include <vector>

#include "base/log.h"

namespace NimboEngine {

LiveMixer::LiveMixer(const VideoFormat& format) {
  videoMix_.setFormat(format);
}

void LiveMixer::setFormat(const VideoFormat& format) {
  const MutexLock lock(videoMutex_);
  videoMix_.setFormat(format);
}

void LiveMixer::setLayout(std::optional<MixLayout> layout) {
  const MutexLock videoLock(videoMutex_);
  const MutexLock audioLock(audioMutex_);
  layout_ = std::move(layout);
  if (layout_) videoMix_.setLayout(*layout_);
}

void LiveMixer::onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) {
  const MutexLock lock(videoMutex_);
  if (!layout_) return deliverVideo(buffer, info, time);
  std::vector<std::optional<RemoteStream::Frame>> frames;
  for (const MixPlace& place : layout_->places) {
    if (place.user.isLocal()) {
      frames.emplace_back(RemoteStream::Frame{share(buffer), info});
    } else {
      const auto stream = streamOf(place.user);
      frames.push_back(stream ? stream->frame() : std::nullopt);
    }
  }
  const GstPtr<GstBuffer> mixed = videoMix_.draw(frames);
  if (!mixed) {
    NIMBO_LOG_ERROR("no memory for a mixed frame");
    return;
  }
  GST_BUFFER_PTS(mixed.get()) = time;
  deliverVideo(mixed.get(), videoMix_.info(), time);
}

void LiveMixer::onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) {
  const MutexLock lock(audioMutex_);
  if (!layout_) return deliverAudio(buffer, format, time);
  bool isLocalAudible = false;
  std::vector<std::shared_ptr<RemoteStream>> streams;
  for (const MixPlace& place : layout_->places) {
    isLocalAudible = isLocalAudible || place.user.isLocal();
    if (place.user.isLocal()) continue;
    if (auto stream = streamOf(place.user)) streams.push_back(std::move(stream));
  }
  const std::size_t channels = static_cast<std::size_t>(format.channels);
  std::vector<int16_t> samples(gst_buffer_get_size(buffer) / sizeof(int16_t));
  const gsize bytes = samples.size() * sizeof(int16_t);
  if (isLocalAudible) gst_buffer_extract(buffer, 0, samples.data(), bytes);
  const AudioTimeline::Time moment{std::chrono::nanoseconds(time)};
  audioMix_.add(streams, format, moment, samples.data(), samples.size() / channels);
  const GstPtr<GstBuffer> mixed(gst_buffer_new_memdup(samples.data(), bytes));
  GST_BUFFER_PTS(mixed.get()) = time;
  deliverAudio(mixed.get(), format, time);
}

void LiveMixer::deliverVideo(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) {
  sinks_.each([&](FrameConsumer& sink) { sink.onVideoFrame(buffer, info, time); });
}

void LiveMixer::deliverAudio(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) {
  sinks_.each([&](FrameConsumer& sink) { sink.onAudioChunk(buffer, format, time); });
}

}  // namespace NimboEngine

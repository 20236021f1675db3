#include "play/decoded_media_sink.h"

#include <utility>

namespace NimboEngine {
DecodedMediaSink::DecodedMediaSink(const PlaySettings& settings, Handlers handlers)
    : arrival(settings.limits.maxQueuedBytes),
      limits_(settings.limits),
      handlers_(std::move(handlers)),
      presenter_(settings.latency, {.onFrame = handlers_.onFrame, .onAudio = handlers_.onAudio}) {}

DecodedMediaSink::~DecodedMediaSink() = default;

void DecodedMediaSink::close() {
  presenter_.close();
}

void DecodedMediaSink::setMode(LumoRtc::LumoLivePlayMode mode, bool followsArrival) {
  presenter_.setLive(followsArrival);
  mode_ = mode;
}

void DecodedMediaSink::deliverVideo(GstPtr<GstSample> sample, GstClockTime timestamp) {
  auto frame = normalizer_.normalize(std::move(sample));
  if (!frame) return;
  meter.addFrame(frame->visibleWidth, frame->visibleHeight);
  presenter_.pushVideo(std::move(frame->buffer), frame->info, std::chrono::nanoseconds(timestamp));
}

void DecodedMediaSink::deliverAudio(GstBuffer* buffer, GstClockTime timestamp) {
  meter.addAudio();
  // PCM does not pass a decoder, where bytes are counted.
  if (!audioWasRaw_) audioWasRaw_ = meter.counts().audioBytes == 0;
  if (*audioWasRaw_) meter.addEncoded(Media::kAudio, gst_buffer_get_size(buffer));
  presenter_.pushAudio(share(buffer), std::chrono::nanoseconds(timestamp));
}

PlayCounts DecodedMediaSink::counts() const {
  PlayCounts counts = meter.counts();
  counts.presented = presenter_.counts();
  return counts;
}

std::chrono::milliseconds DecodedMediaSink::takeWorstDelay(Presenter::Time now) {
  return presenter_.takeWorstDelay(now);
}

}  // namespace NimboEngine

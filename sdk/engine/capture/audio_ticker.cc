#include "capture/audio_ticker.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "gst/gst_ptr.h"

namespace NimboEngine {
namespace {

// Overdue chunks are caught up on for up to a second: leaving out a chunk would shift the audio
// against the video.
constexpr uint64_t kCatchUp = AudioTicker::kChunksPerSecond;

// The first frame of chunk `number`. Rates that 50 does not divide get chunks of two lengths.
uint64_t firstFrame(uint64_t number, int rate) {
  return number * static_cast<uint64_t>(rate) / AudioTicker::kChunksPerSecond;
}

}  // namespace

AudioTicker::AudioTicker(const AudioFormat& format, SinkList<FrameConsumer>& consumers)
    : format_(format),
      consumers_(consumers),
      ticker_("capture-audio", kChunksPerSecond, kCatchUp,
              [this](uint64_t number, GstClockTime time) { tick(number, time); }) {}

void AudioTicker::setSource(std::shared_ptr<SampleFifo> source) {
  const MutexLock lock(mutex_);
  next_ = std::move(source);
  if (!next_) source_ = nullptr;
}

std::shared_ptr<SampleFifo> AudioTicker::currentSource() {
  const MutexLock lock(mutex_);
  if (next_ && next_->isReady()) source_ = std::move(next_);
  return source_;
}

void AudioTicker::tick(uint64_t number, GstClockTime time) {
  const std::shared_ptr<SampleFifo> source = currentSource();
  const size_t frames = firstFrame(number + 1, format_.rate) - firstFrame(number, format_.rate);
  std::vector<int16_t> samples(frames * static_cast<size_t>(format_.channels));
  if (source) source->pull(samples.data(), frames);
  // Samples recorded while muted are consumed too, so that they are not audible afterwards.
  if (silent_) std::fill(samples.begin(), samples.end(), int16_t{0});
  const GstPtr<GstBuffer> chunk(
      gst_buffer_new_memdup(samples.data(), samples.size() * sizeof(int16_t)));
  GST_BUFFER_PTS(chunk.get()) = time;
  consumers_.each(
      [&](FrameConsumer& consumer) { consumer.onAudioChunk(chunk.get(), format_, time); });
}

}  // namespace NimboEngine

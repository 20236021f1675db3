#include "media/sample_fifo.h"

#include <algorithm>

namespace NimboEngine {

SampleFifo::SampleFifo(size_t channels, size_t prebuffer, size_t limit)
    : channels_(channels), prebuffer_(prebuffer), limit_(limit) {}

void SampleFifo::push(const int16_t* samples, size_t frames) {
  const MutexLock lock(mutex_);
  count_ += frames;
  samples_.insert(samples_.end(), samples, samples + frames * channels_);
  if (samples_.size() > limit_ * channels_) {
    const auto surplus = static_cast<ptrdiff_t>(samples_.size() - prebuffer_ * channels_);
    samples_.erase(samples_.begin(), samples_.begin() + surplus);
  }
}

size_t SampleFifo::pull(int16_t* out, size_t frames) {
  const MutexLock lock(mutex_);
  const size_t held = samples_.size() / channels_;
  if (held >= prebuffer_) filling_ = false;
  const size_t taken = filling_ ? 0 : std::min(frames, held);
  if (taken < frames) filling_ = true;
  const auto end = samples_.begin() + static_cast<ptrdiff_t>(taken * channels_);
  std::fill_n(std::copy(samples_.begin(), end, out), (frames - taken) * channels_, int16_t{0});
  samples_.erase(samples_.begin(), end);
  return taken;
}

bool SampleFifo::isReady() const {
  const MutexLock lock(mutex_);
  return samples_.size() >= (filling_ ? prebuffer_ : 1) * channels_;
}

uint64_t SampleFifo::count() const {
  const MutexLock lock(mutex_);
  return count_;
}

void SampleFifo::clear() {
  const MutexLock lock(mutex_);
  samples_.clear();
  count_ = 0;
  filling_ = true;
}

}  // namespace NimboEngine

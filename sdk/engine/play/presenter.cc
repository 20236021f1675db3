#include "play/presenter.h"

#include <algorithm>
#include <utility>

#include "platform/thread_name.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// How much may be decoded ahead. Live media are all decoded on arrival, up to this memory; the rest
// waits undecoded.
constexpr gsize kMostVideoBytes = gsize{64} * 1024 * 1024;
constexpr std::size_t kMostTimedFrames = 12;
constexpr std::size_t kMostFrames = 120;
// Frames that are due as soon as they are decoded are dropped only if the receiver is too slow.
constexpr std::size_t kMostImmediateFrames = 8;
constexpr gsize kMostAudioBytes = gsize{48'000} * 4 * 3;  // 3 s
// Audio is passed on this much earlier if the thread is awake anyway: a wake-up costs more than the
// chunk.
constexpr auto kAudioEarly = 25ms;
constexpr gsize kMostTimedAudioBytes = gsize{48'000} * 4 / 2;  // 0.5 s

}  // namespace

Presenter::Presenter(const LatencySettings& latency, Sinks sinks)
    : sinks_(std::move(sinks)), clock_(latency), thread_([this] { loop(); }) {
  nameThread(thread_, "nimbo-present");
}

Presenter::~Presenter() {
  close();
}

void Presenter::close() {
  {
    const MutexLock lock(mutex_);
    closed_ = true;
  }
  changed_.notify_all();
  space_.notify_all();
  if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
  const MutexLock lock(mutex_);
  for (Queue& queue : queues_) queue.items.clear();
}

void Presenter::setLive(bool live) {
  clock_.setLive(live);
  const MutexLock lock(mutex_);
  live_ = live;
}

// ------------------------------------------------------------------------------- the decoders'
// side

void Presenter::pushVideo(GstPtr<GstBuffer> frame, const GstVideoInfo& info, Duration timestamp) {
  push(Media::kVideo, {std::move(frame), info, timestamp});
}

void Presenter::pushAudio(GstPtr<GstBuffer> samples, Duration timestamp) {
  push(Media::kAudio, {std::move(samples), {}, timestamp});
}

void Presenter::push(Media media, Item item) {
  MutexLock lock(mutex_);
  Queue& queue = of(media);
  const bool jumped = clock_.ready(media, Clock::now(), item.timestamp, queue.waited);
  queue.waited = isFull(media);
  space_.wait(lock, [&]() NIMBO_REQUIRES(mutex_) { return closed_ || !isFull(media); });
  if (closed_) return;
  queue.bytes += gst_buffer_get_size(item.buffer.get());
  queue.items.push_back(std::move(item));
  if (jumped || (queue.items.size() == 1 && moment(media) < wakesAt_)) changed_.notify_one();
}

bool Presenter::isFull(Media media) const {
  const Queue& queue = of(media);
  if (media == Media::kAudio) {
    return queue.bytes >= (live_ ? kMostAudioBytes : kMostTimedAudioBytes);
  }
  return queue.bytes >= kMostVideoBytes ||
         queue.items.size() >= (live_ ? kMostFrames : kMostTimedFrames);
}

// ------------------------------------------------------------------------------- the presenter's

void Presenter::loop() {
  MutexLock lock(mutex_);
  while (!closed_) {
    const Time now = Clock::now();
    dropLate(now);
    const auto media = next();
    wakesAt_ = media ? moment(*media) : Time::max();
    if (!media) {
      changed_.wait(lock);
      continue;
    }
    if (wakesAt_ > now + (*media == Media::kAudio ? kAudioEarly : 0ms)) {
      changed_.wait_until(lock, wakesAt_);
      continue;
    }
    Item item = take(*media);
    presenting_ = true;
    lock.unlock();
    present(*media, std::move(item), now);
    lock.lock();
    presenting_ = false;
  }
}

// Returns when the first item of that queue is passed on.
Presenter::Time Presenter::moment(Media media) const {
  const Time due = clock_.due(media, of(media).items.front().timestamp);
  if (media == Media::kVideo) return shownFirst_ ? due : Time::min();
  return due - PresentationClock::kAudioLead;
}

std::optional<Media> Presenter::next() const {
  const bool video = !of(Media::kVideo).items.empty();
  const bool audio = !of(Media::kAudio).items.empty();
  if (video && audio) {
    return moment(Media::kVideo) < moment(Media::kAudio) ? Media::kVideo : Media::kAudio;
  }
  if (video) return Media::kVideo;
  return audio ? std::optional(Media::kAudio) : std::nullopt;
}

void Presenter::dropLate(Time now) {
  const auto& frames = of(Media::kVideo).items;
  const auto isLate = [&]() NIMBO_REQUIRES(mutex_) {
    if (!shownFirst_ || frames.size() < 2) return false;
    const Time due = clock_.due(Media::kVideo, frames[1].timestamp);
    return due == Time::min() ? frames.size() > kMostImmediateFrames : due <= now;
  };
  while (isLate()) {
    take(Media::kVideo);
    ++counts_.lateFrames;
  }
  const auto& audio = of(Media::kAudio).items;
  while (!audio.empty() && clock_.due(Media::kAudio, audio.front().timestamp) <
                               now + PresentationClock::kAudioDeadline) {
    take(Media::kAudio);
    ++counts_.lateAudio;
  }
}

Presenter::Item Presenter::take(Media media) {
  Queue& queue = of(media);
  Item item = std::move(queue.items.front());
  queue.items.pop_front();
  queue.bytes -= gst_buffer_get_size(item.buffer.get());
  space_.notify_all();
  return item;
}

void Presenter::present(Media media, Item item, Time now) {
  const Time due = clock_.due(media, item.timestamp);
  if (media == Media::kVideo) {
    sinks_.onFrame(item.buffer.get(), item.info);
    const MutexLock lock(mutex_);
    if (std::exchange(shownFirst_, true) && due != Time::min()) videoError_ = now - due;
    end_ = std::max(end_, now);
    return;
  }
  GstMapInfo map;
  if (!gst_buffer_map(item.buffer.get(), &map, GST_MAP_READ)) return;
  const auto* samples = reinterpret_cast<const int16_t*>(map.data);
  const AudioAligner::Piece piece = aligner_.align({samples, map.size / sizeof(int16_t)}, due);
  gst_buffer_unmap(item.buffer.get(), &map);
  if (!piece.samples.empty()) sinks_.onAudio(piece);
  const MutexLock lock(mutex_);
  audioError_ = aligner_.error();
  end_ = std::max(end_, *aligner_.end());
}

bool Presenter::isDrained() const {
  const MutexLock lock(mutex_);
  return closed_ || (queues_[0].items.empty() && queues_[1].items.empty() && !presenting_ &&
                     Clock::now() >= end_);
}

Presenter::Counts Presenter::counts() const {
  const MutexLock lock(mutex_);
  Counts counts = counts_;
  counts.depth = clock_.depth();
  counts.avOffset =
      std::chrono::duration_cast<std::chrono::milliseconds>(audioError_ - videoError_);
  return counts;
}

}  // namespace NimboEngine

#include "capture/screen/screen_capture.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/glib_ptr.h"
#include "base/log.h"
#include "media/frame_converter.h"
#include "media/frame_pool.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;
using Outcome = ScreenReader::Outcome;

// Single frames may be missed, but not this many in a row.
constexpr int kMostMisses = 50;

}  // namespace

struct ScreenCapture::State : WorkerState<ErrorCallback> {
  State(ScreenId source, const VideoFormat& wanted, std::shared_ptr<FrameMailbox> mailbox,
        ErrorCallback callback)
      : WorkerState(std::move(callback)), id(source), format(wanted), frames(std::move(mailbox)) {}

  const ScreenId id;
  VideoFormat format NIMBO_GUARDED_BY(mutex);
  std::shared_ptr<FrameMailbox> frames NIMBO_GUARDED_BY(mutex);
  bool paused NIMBO_GUARDED_BY(mutex) = false;
  const GlibPtr<GCancellable> cancelled{g_cancellable_new()};  // when stopping

  // Used by the thread only.
  FrameConverter converter{ViewMode::kFit, GST_VIDEO_RESAMPLER_METHOD_LINEAR};
  std::unique_ptr<FramePool> pool;
  VideoFormat poolFormat;
  std::shared_ptr<FrameMailbox> filled;  // holds the newest frame

  void run();
  void setPaused(bool pause);
  void setFormat(const VideoFormat& wanted, std::shared_ptr<FrameMailbox> mailbox);
  bool isDelivered();
  bool waitForTurn(Clock::time_point& due);
  void deliver(ScreenReader& reader);
  void report(ScreenError error, const std::string& message);
};

void ScreenCapture::State::run() {
  const auto reader = openScreen(id, cancelled.get());
  Clock::time_point due = Clock::now();
  bool hidden = false;
  int misses = 0;
  while (waitForTurn(due)) {
    const Outcome outcome = reader->grab();
    if (outcome == Outcome::kGone) return report(ScreenError::kLost, reader->error());
    if (outcome == Outcome::kRefused) return report(ScreenError::kRefused, reader->error());
    if (outcome == Outcome::kHidden && !hidden) {
      report(ScreenError::kHidden, fmt::format("nothing of window {:#x} is visible", id.number));
    }
    hidden = outcome == Outcome::kHidden;
    if (outcome == Outcome::kFrame || (outcome == Outcome::kSame && !isDelivered())) {
      deliver(*reader);
    }
    misses = outcome == Outcome::kMissed ? misses + 1 : 0;
    if (misses > kMostMisses) {
      return report(ScreenError::kLost, fmt::format("{:#x} cannot be read", id.number));
    }
  }
}

// Returns false when it is time to end. An overdue turn runs immediately, and delays the next ones.
bool ScreenCapture::State::waitForTurn(Clock::time_point& due) {
  MutexLock lock(mutex);
  changed.wait(lock, [this]() NIMBO_REQUIRES(mutex) { return stopping || !paused; });
  changed.wait_until(lock, due, [this]() NIMBO_REQUIRES(mutex) { return stopping; });
  due = std::max(due, Clock::now() - std::chrono::milliseconds(5));
  due += std::chrono::nanoseconds(std::chrono::seconds(1)) / format.fps;
  return !stopping;
}

bool ScreenCapture::State::isDelivered() {
  const MutexLock lock(mutex);
  return filled == frames;
}

// Delivers nothing if a pause begins meanwhile or there is no memory; the frame then stays pending.
void ScreenCapture::State::deliver(ScreenReader& reader) {
  MutexLock lock(mutex);
  const VideoFormat wanted = format;
  const std::shared_ptr<FrameMailbox> mailbox = frames;
  lock.unlock();
  if (!pool || wanted != poolFormat) pool = std::make_unique<FramePool>(wanted);
  poolFormat = wanted;
  filled.reset();
  const GstPtr<GstBuffer> frame = pool->acquire();
  GstVideoInfo info;
  const GstPtr<GstBuffer> pixels = reader.frame(info);
  if (!frame || !pixels || !converter.convert(pixels.get(), info, frame.get(), pool->info())) {
    NIMBO_LOG_ERROR("no memory for a frame of the screen");
    return;
  }
  lock.lock();
  if (paused || stopping) return;
  mailbox->put(frame.get());
  filled = mailbox;
}

void ScreenCapture::State::report(ScreenError error, const std::string& message) {
  NIMBO_LOG_WARN("screen sharing: {}", message);
  notify([&](ErrorCallback& callback) { callback(error, message); });
}

void ScreenCapture::State::setPaused(bool pause) {
  const MutexLock lock(mutex);
  paused = pause;
  changed.notify_all();
}

void ScreenCapture::State::setFormat(const VideoFormat& wanted,
                                     std::shared_ptr<FrameMailbox> mailbox) {
  const MutexLock lock(mutex);
  format = wanted;
  frames = std::move(mailbox);
}

ScreenCapture::ScreenCapture(ScreenId id, const VideoFormat& format,
                             std::shared_ptr<FrameMailbox> frames, ErrorCallback onError)
    : worker_({.name = "screen"}, id, format, std::move(frames), std::move(onError)) {}

ScreenCapture::~ScreenCapture() {
  worker_.requestStop();
  g_cancellable_cancel(worker_->cancelled.get());
}

void ScreenCapture::setPaused(bool paused) {
  worker_->setPaused(paused);
}

void ScreenCapture::setFormat(const VideoFormat& format, std::shared_ptr<FrameMailbox> frames) {
  worker_->setFormat(format, std::move(frames));
}

}  // namespace NimboEngine

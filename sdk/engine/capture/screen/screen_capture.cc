#include "capture/screen/screen_capture.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "base/glib_ptr.h"
#include "base/listener_slot.h"
#include "base/log.h"
#include "capture/screen/portal_reader.h"
#include "capture/screen/screen_grabber.h"
#include "capture/screen/screen_monitors.h"
#include "media/frame_converter.h"
#include "media/frame_pool.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;
using Outcome = ScreenReader::Outcome;

// A picture may be missed now and then, but not so many in a row.
constexpr int kMostMisses = 50;

std::unique_ptr<ScreenReader> makeReader(uint32_t id, GCancellable* cancelled) {
  if (id == kPortalSource) return std::make_unique<PortalReader>(cancelled);
  return std::make_unique<ScreenGrabber>(id);
}

}  // namespace

// Shared with the thread, which may be left behind.
struct ScreenCapture::State {
  State(uint32_t source, const VideoFormat& wanted, std::shared_ptr<FrameMailbox> mailbox,
        ErrorCallback callback)
      : id(source), onError(std::move(callback)), format(wanted), frames(std::move(mailbox)) {
    listener.set(&onError);
  }

  const uint32_t id;
  ErrorCallback onError;
  ListenerSlot<ErrorCallback> listener;

  std::mutex mutex;
  std::condition_variable changed;
  VideoFormat format;
  std::shared_ptr<FrameMailbox> frames;
  bool paused = false;
  bool stopping = false;
  const GlibPtr<GCancellable> cancelled{g_cancellable_new()};  // when stopping

  // Of the thread alone.
  FrameConverter converter{ViewMode::kFit, GST_VIDEO_RESAMPLER_METHOD_LINEAR};
  std::unique_ptr<FramePool> pool;
  VideoFormat poolFormat;
  std::shared_ptr<FrameMailbox> filled;  // where the newest picture is

  void run();
  bool isDelivered();
  bool waitForTurn(Clock::time_point& due);
  void deliver(ScreenReader& reader);
  void report(ScreenError error, const std::string& message);
};

void ScreenCapture::State::run() {
  const auto reader = makeReader(id, cancelled.get());
  Clock::time_point due = Clock::now();
  bool hidden = false;
  int misses = 0;
  while (waitForTurn(due)) {
    const Outcome outcome = reader->grab();
    if (outcome == Outcome::kGone) return report(ScreenError::kLost, reader->error());
    if (outcome == Outcome::kRefused) return report(ScreenError::kRefused, reader->error());
    if (outcome == Outcome::kHidden && !hidden) {
      report(ScreenError::kHidden, fmt::format("there is nothing to see of window {:#x}", id));
    }
    hidden = outcome == Outcome::kHidden;
    if (outcome == Outcome::kFrame || (outcome == Outcome::kSame && !isDelivered())) {
      deliver(*reader);
    }
    misses = outcome == Outcome::kMissed ? misses + 1 : 0;
    if (misses > kMostMisses) {
      return report(ScreenError::kLost, fmt::format("{:#x} cannot be read", id));
    }
  }
}

// False when it is time to end. A turn that is overdue is taken at once, and delays the next ones.
bool ScreenCapture::State::waitForTurn(Clock::time_point& due) {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return stopping || !paused; });
  changed.wait_until(lock, due, [this] { return stopping; });
  due = std::max(due, Clock::now() - std::chrono::milliseconds(5));
  due += std::chrono::nanoseconds(std::chrono::seconds(1)) / format.fps;
  return !stopping;
}

bool ScreenCapture::State::isDelivered() {
  std::lock_guard lock(mutex);
  return filled == frames;
}

// Not when a pause comes between, or there is no memory: then it is still to be delivered.
void ScreenCapture::State::deliver(ScreenReader& reader) {
  std::unique_lock lock(mutex);
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
    NIMBO_LOG_ERROR("no memory for a picture of the screen");
    return;
  }
  lock.lock();
  if (paused || stopping) return;
  mailbox->put(frame.get());
  filled = mailbox;
}

void ScreenCapture::State::report(ScreenError error, const std::string& message) {
  NIMBO_LOG_WARN("screen sharing: {}", message);
  listener.call([&](ErrorCallback& callback) { callback(error, message); });
}

ScreenCapture::ScreenCapture(uint32_t id, const VideoFormat& format,
                             std::shared_ptr<FrameMailbox> frames, ErrorCallback onError)
    : state_(std::make_shared<State>(id, format, std::move(frames), std::move(onError))),
      thread_("screen", [state = state_] { state->run(); }) {}

ScreenCapture::~ScreenCapture() {
  state_->listener.set(nullptr);
  g_cancellable_cancel(state_->cancelled.get());
  std::lock_guard lock(state_->mutex);
  state_->stopping = true;
  state_->changed.notify_all();
}

void ScreenCapture::setPaused(bool paused) {
  std::lock_guard lock(state_->mutex);
  state_->paused = paused;
  state_->changed.notify_all();
}

void ScreenCapture::setFormat(const VideoFormat& format, std::shared_ptr<FrameMailbox> frames) {
  std::lock_guard lock(state_->mutex);
  state_->format = format;
  state_->frames = std::move(frames);
}

}  // namespace NimboEngine

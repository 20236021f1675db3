#include "capture/screen_capture.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "base/listener_slot.h"
#include "capture/frame_pool.h"
#include "capture/screen_grabber.h"
#include "log/log.h"
#include "render/picture_converter.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;
using Outcome = ScreenGrabber::Outcome;

// A picture may be missed now and then, but not so many in a row.
constexpr int kMostMisses = 50;

}  // namespace

// Shared with the thread, which may be left behind.
struct ScreenCapture::State {
  State(uint32_t source, const VideoFormat& format, int rate,
        std::shared_ptr<PictureMailbox> mailbox, TroubleCallback callback)
      : id(source),
        pool(format),
        pictures(std::move(mailbox)),
        onTrouble(std::move(callback)),
        fps(rate) {
    listener.set(&onTrouble);
  }

  const uint32_t id;
  FramePool pool;
  PictureConverter converter{ViewMode::kFit, GST_VIDEO_RESAMPLER_METHOD_LINEAR};
  const std::shared_ptr<PictureMailbox> pictures;
  TroubleCallback onTrouble;
  ListenerSlot<TroubleCallback> listener;

  std::mutex mutex;
  std::condition_variable changed;
  int fps;
  bool paused = false;
  bool stopping = false;

  void run();
  bool waitForTurn(Clock::time_point& due);
  bool deliver(const ScreenImage& image);
  void report(ScreenTrouble trouble, const std::string& message);
};

void ScreenCapture::State::run() {
  ScreenGrabber grabber(id);
  Clock::time_point due = Clock::now();
  bool hidden = false;
  bool delivered = false;
  int misses = 0;
  while (waitForTurn(due)) {
    const Outcome outcome = grabber.grab();
    if (outcome == Outcome::kGone) return report(ScreenTrouble::kLost, grabber.problem());
    if (outcome == Outcome::kHidden && !hidden) {
      report(ScreenTrouble::kHidden, fmt::format("there is nothing to see of window {:#x}", id));
    }
    hidden = outcome == Outcome::kHidden;
    if (outcome == Outcome::kPicture || (outcome == Outcome::kSame && !delivered)) {
      delivered = deliver(grabber.image());
    }
    misses = outcome == Outcome::kMissed ? misses + 1 : 0;
    if (misses > kMostMisses) {
      return report(ScreenTrouble::kLost, fmt::format("{:#x} cannot be read", id));
    }
  }
}

// False when it is time to end. A turn that is overdue is taken at once, and delays the next ones.
bool ScreenCapture::State::waitForTurn(Clock::time_point& due) {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return stopping || !paused; });
  changed.wait_until(lock, due, [this] { return stopping; });
  due = std::max(due, Clock::now() - std::chrono::milliseconds(5));
  due += std::chrono::nanoseconds(std::chrono::seconds(1)) / fps;
  return !stopping;
}

// False when it has not got there: a pause came between, or there is no memory.
bool ScreenCapture::State::deliver(const ScreenImage& image) {
  const GstPtr<GstBuffer> picture = pool.acquire();
  GstVideoInfo info;
  const GstPtr<GstBuffer> pixels =
      wrapPixels(image.pixels(), image.size(), GST_VIDEO_FORMAT_BGRx, info);
  if (!picture || !converter.convert(pixels.get(), info, picture.get(), pool.info())) {
    NIMBO_LOG_ERROR("no memory for a picture of the screen");
    return false;
  }
  std::lock_guard lock(mutex);
  if (paused || stopping) return false;
  pictures->put(picture.get());
  return true;
}

void ScreenCapture::State::report(ScreenTrouble trouble, const std::string& message) {
  NIMBO_LOG_WARN("screen sharing: {}", message);
  listener.call([&](TroubleCallback& callback) { callback(trouble, message); });
}

ScreenCapture::ScreenCapture(uint32_t id, const VideoFormat& format, int fps,
                             std::shared_ptr<PictureMailbox> pictures, TroubleCallback onTrouble)
    : state_(std::make_shared<State>(id, format, fps, std::move(pictures), std::move(onTrouble))),
      thread_("screen", [state = state_] { state->run(); }) {}

ScreenCapture::~ScreenCapture() {
  state_->listener.set(nullptr);
  std::lock_guard lock(state_->mutex);
  state_->stopping = true;
  state_->changed.notify_all();
}

void ScreenCapture::setPaused(bool paused) {
  std::lock_guard lock(state_->mutex);
  state_->paused = paused;
  state_->changed.notify_all();
}

void ScreenCapture::setFps(int fps) {
  std::lock_guard lock(state_->mutex);
  state_->fps = fps;
}

}  // namespace NimboEngine

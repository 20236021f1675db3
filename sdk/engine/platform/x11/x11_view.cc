#include "platform/x11/x11_view.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "base/listener_slot.h"
#include "base/log.h"
#include "gst/gst_ptr.h"
#include "platform/x11/frame_painter.h"
#include "platform/x11/xcb_canvas.h"

namespace NimboEngine {
namespace {

struct Frame {
  GstPtr<GstBuffer> buffer;
  GstVideoInfo info;
};

}  // namespace

// Shared with the thread, which may be left behind by the view.
struct X11View::State {
  State(uint32_t windowId, ViewEvents viewEvents, const ViewStyle& viewStyle)
      : window(windowId), style(viewStyle), events(std::move(viewEvents)) {
    listener.set(&events);
  }

  const uint32_t window;
  const ViewStyle style;
  ViewEvents events;
  ListenerSlot<ViewEvents> listener;

  std::mutex mutex;
  std::condition_variable changed;
  std::optional<Frame> newest;
  bool stopping = false;

  void run();
  std::optional<Frame> next();
  void close();
};

void X11View::State::run() {
  XcbCanvas canvas(window);
  FramePainter painter(style);
  bool drawn = false;
  while (const std::optional<Frame> frame = next()) {
    if (!canvas.refresh()) {
      const std::string message = fmt::format("window {:#x} cannot be drawn into", window);
      NIMBO_LOG_WARN("view: {}", message);
      close();
      listener.call([&](ViewEvents& listening) { listening.onLost(message); });
      return;
    }
    if (!painter.paint(frame->buffer.get(), frame->info, canvas.pixels(), canvas.size())) continue;
    canvas.show();
    listener.call([](ViewEvents& listening) {
      if (listening.onDrawn) listening.onDrawn();
    });
    if (!std::exchange(drawn, true)) {
      listener.call([](ViewEvents& listening) { listening.onFirstDrawn(); });
    }
  }
}

// The newest frame, once there is one; none when the view closes.
std::optional<Frame> X11View::State::next() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return stopping || newest; });
  return stopping ? std::nullopt : std::exchange(newest, std::nullopt);
}

void X11View::State::close() {
  std::lock_guard lock(mutex);
  stopping = true;
  newest.reset();
  changed.notify_all();
}

X11View::X11View(uint32_t window, ViewEvents events, const ViewStyle& style)
    : state_(std::make_shared<State>(window, std::move(events), style)),
      thread_("view", [state = state_] { state->run(); }) {}

X11View::~X11View() {
  state_->listener.set(nullptr);
  state_->close();
}

void X11View::onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime) {
  std::lock_guard lock(state_->mutex);
  if (state_->stopping) return;
  state_->newest = Frame{share(buffer), info};
  state_->changed.notify_all();
}

}  // namespace NimboEngine

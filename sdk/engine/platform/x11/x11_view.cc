#include "platform/x11/x11_view.h"

#include <cstring>
#include <memory>
#include <optional>
#include <utility>

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

struct X11View::State : WorkerState<ViewEvents> {
  State(uint32_t windowId, ViewEvents events, const ViewStyle& viewStyle)
      : WorkerState(std::move(events)), window(windowId), style(viewStyle) {}

  const uint32_t window;
  const ViewStyle style;
  std::optional<Frame> newest NIMBO_GUARDED_BY(mutex);

  void put(Frame frame);
  void run();
  std::optional<Frame> next();
};

void X11View::State::run() {
  XcbCanvas canvas(window);
  FramePainter painter(style);
  bool drawn = false;
  while (const std::optional<Frame> frame = next()) {
    if (!canvas.refresh()) {
      const std::string message = fmt::format("window {:#x} cannot be drawn into", window);
      NIMBO_LOG_WARN("view: {}", message);
      requestStop();  // takes no more frames
      notify([&](ViewEvents& listening) { listening.onLost(message); });
      return;
    }
    if (!painter.paint(frame->buffer.get(), frame->info, canvas.pixels(), canvas.size())) continue;
    canvas.show();
    notify([](ViewEvents& listening) {
      if (listening.onDrawn) listening.onDrawn();
    });
    if (!std::exchange(drawn, true)) {
      notify([](ViewEvents& listening) { listening.onFirstDrawn(); });
    }
  }
}

// Waits for and returns the newest frame; none when the view closes.
std::optional<Frame> X11View::State::next() {
  MutexLock lock(mutex);
  changed.wait(lock, [this]() NIMBO_REQUIRES(mutex) { return stopping || newest; });
  return stopping ? std::nullopt : std::exchange(newest, std::nullopt);
}

void X11View::State::put(Frame frame) {
  const MutexLock lock(mutex);
  if (stopping) return;
  newest = std::move(frame);
  changed.notify_all();
}

X11View::X11View(uint32_t window, ViewEvents events, const ViewStyle& style)
    : worker_({.name = "view"}, window, std::move(events), style) {}

X11View::~X11View() = default;

void X11View::onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime) {
  worker_->put({share(buffer), info});
}

std::optional<NativeWindow> readNativeWindow(const void* handle) {
  if (!handle) return std::nullopt;
  uint32_t identifier = 0;
  std::memcpy(&identifier, handle, sizeof identifier);
  return NativeWindow{identifier};
}

std::unique_ptr<View> openView(const NativeWindow& window, ViewEvents events,
                               const ViewStyle& style) {
  return std::make_unique<X11View>(static_cast<uint32_t>(window.number), std::move(events), style);
}

}  // namespace NimboEngine

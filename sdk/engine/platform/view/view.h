// A view: shows frames in a foreign window, scaled to its current size. Each system has its
// implementation in a folder of platform/.
//
// Thread: frames on any one thread, which never blocks: if frames arrive faster than they are
//   drawn, only the newest is kept. The events are called on the view's own thread, all but onDrawn
//   at most once, and never after destruction; they must not destroy the view.
// Ownership: the window is the caller's and may be destroyed at any time. A display server that
//   does not answer delays destruction a sixth of a second at most.
// Failure: if there is no such window or server, or it disappears, onLost is called and nothing is
//   drawn any more.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "media/frame_consumer.h"
#include "media/view_layout.h"

namespace NimboEngine {

struct ViewEvents {
  std::function<void()> onFirstDrawn;
  std::function<void(const std::string& message)> onLost;
  std::function<void()> onDrawn{};  // each frame; may be left out
};

class View : public FrameConsumer {
 public:
  View() = default;
  virtual ~View() = default;
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  void onAudioChunk(GstBuffer*, const AudioFormat&, GstClockTime) final {}
};

// A window of this system; only platform/ interprets the number.
struct NativeWindow {
  uint64_t number = 0;
};

// `handle` points to the bytes that Electron's getNativeWindowHandle() returns. None for null.
std::optional<NativeWindow> readNativeWindow(const void* handle);

std::unique_ptr<View> openView(const NativeWindow& window, ViewEvents events,
                               const ViewStyle& style = {});

}  // namespace NimboEngine

// Shows frames in a foreign X11 window, scaled to its current size.
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
#include <string>

#include "base/worker.h"
#include "media/frame_consumer.h"
#include "media/view_layout.h"

namespace NimboEngine {

struct ViewEvents {
  std::function<void()> onFirstDrawn;
  std::function<void(const std::string& message)> onLost;
  std::function<void()> onDrawn{};  // each frame; may be left out
};

class X11View final : public FrameConsumer {
 public:
  // `window` is an X11 window's identifier on the server that $DISPLAY names.
  X11View(uint32_t window, ViewEvents events, const ViewStyle& style = {});
  ~X11View();
  X11View(const X11View&) = delete;
  X11View& operator=(const X11View&) = delete;

  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) override;
  void onAudioChunk(GstBuffer*, const AudioFormat&, GstClockTime) override {}

 private:
  struct State;

  Worker<State> worker_;
};

}  // namespace NimboEngine

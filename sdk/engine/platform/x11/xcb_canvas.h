// A drawing surface shown in a window of another program or toolkit: 32 bits a pixel, in memory
// shared with the X server where the server allows it, else sent to it.
//
// Thread: one thread at a time.
// Ownership: owns its connection to the X server, named by $DISPLAY, and the surface. The window is
//   foreign and may disappear at any time, as may the server; neither ends the process.
// Failure: refresh() returns false permanently once window or server are gone.

#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "media/view_layout.h"
#include "platform/x11/shm_segment.h"
#include "platform/x11/x_display.h"

namespace NimboEngine {

class XcbCanvas {
 public:
  explicit XcbCanvas(uint32_t window);
  ~XcbCanvas();
  XcbCanvas(const XcbCanvas&) = delete;
  XcbCanvas& operator=(const XcbCanvas&) = delete;

  // Resizes the surface to the window and waits until the server has finished with what was shown
  // before. Returns false if the window cannot be drawn into (any more).
  bool refresh();

  Size size() const { return size_; }

  // size().height rows of size().width pixels without gaps, each blue, green, red, alpha.
  uint8_t* pixels() { return shared_ ? shared_->data() : own_.data(); }

  // Shows the surface.
  void show();

  // Returns whether the surface is in shared memory.
  bool isShared() const { return shared_ != nullptr; }

 private:
  void resize(Size size);
  void send();

  const uint32_t window_;
  XConnection connection_;
  uint32_t gc_ = 0;
  uint8_t depth_ = 0;
  Size size_;
  std::unique_ptr<ShmSegment> shared_;
  std::vector<uint8_t> own_;
};

}  // namespace NimboEngine

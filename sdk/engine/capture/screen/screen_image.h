// Pixels that were read from the X server: through memory shared with it where it allows that, else
// sent by it.
//
// Thread: that of the connection.
// Ownership: owns the pixels; the connection must outlive it.
// Failure: take() answers false.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>

#include "media/view_layout.h"
#include "platform/x11/shm_segment.h"
#include "platform/x11/x_display.h"

namespace NimboEngine {

class ScreenImage {
 public:
  ScreenImage(xcb_connection_t* connection, Size size);

  // Asks, without waiting, for the part of `drawable` that begins at that place.
  void ask(xcb_drawable_t drawable, int x, int y);

  // Waits for what was asked for. False when there is none: the part is not inside any more.
  bool take();

  // What was taken: rows without gaps, each pixel blue, green, red, unused.
  uint8_t* pixels() const;
  Size size() const { return size_; }
  bool isShared() const { return shared_ != nullptr; }

  // Whether both were taken, and look the same. They are of one size.
  bool hasSamePixels(const ScreenImage& other) const;

 private:
  xcb_connection_t* const connection_;
  const Size size_;
  const std::unique_ptr<ShmSegment> shared_;
  unsigned question_ = 0;
  bool taken_ = false;
  XReply<xcb_get_image_reply_t> sent_;
};

}  // namespace NimboEngine

// Pixels read from the X server: through shared memory if the server allows it, else over the
// connection.
//
// Thread: that of the connection.
// Ownership: owns the pixels; the connection must outlive it.
// Failure: take() returns false.

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

  // Requests the part of `drawable` that begins at that place, without waiting.
  void ask(xcb_drawable_t drawable, int x, int y);

  // Waits for the requested pixels. Returns false if there are none: the part is no longer inside
  // the drawable.
  bool take();

  // The pixels: rows without gaps, each pixel blue, green, red, unused.
  uint8_t* pixels() const;
  Size size() const { return size_; }
  bool isShared() const { return shared_ != nullptr; }

  // Returns whether both were read and have equal pixels. Both must have the same size.
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

// The mouse pointer, which is no part of what the X server lets one read from a screen.
//
// Thread: that of the connection.
// Failure: a server that does not tell gives no pointer.

#pragma once

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdint>

#include "media/view_layout.h"

namespace NimboEngine {

class ScreenCursor {
 public:
  explicit ScreenCursor(xcb_connection_t* connection);

  // Asks, without waiting, where the pointer is and what it looks like.
  void ask();

  // Takes the answer, and draws it on a picture of `area` of the desktop: rows without gaps, each
  // pixel blue, green, red, unused. Null pixels: it is not to be drawn.
  void draw(uint8_t* pixels, const Rect& area);

 private:
  xcb_connection_t* const connection_;
  const bool known_;
  xcb_xfixes_get_cursor_image_cookie_t question_{};
};

}  // namespace NimboEngine

// The mouse pointer, which the pixels read from the X server's screen do not contain.
//
// Thread: that of the connection.
// Failure: without a reply of the server no pointer is drawn.

#pragma once

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdint>

#include "media/view_layout.h"

namespace NimboEngine {

class ScreenCursor {
 public:
  explicit ScreenCursor(xcb_connection_t* connection);

  // Requests the pointer's position and image, without waiting.
  void ask();

  // Takes the reply, and draws the pointer on an image of `area` of the desktop: rows without gaps,
  // each pixel blue, green, red, unused. Null pixels: nothing is drawn.
  void draw(uint8_t* pixels, const Rect& area);

 private:
  xcb_connection_t* const connection_;
  const bool known_;
  xcb_xfixes_get_cursor_image_cookie_t question_{};
};

}  // namespace NimboEngine

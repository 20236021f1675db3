// Grabs images of one monitor or window, over its own connection to the X server.
//
// A window is grabbed without whatever covers it if the server has the Composite extension;
// otherwise the image is what the screen shows at its place, and the part of a window that is
// outside the screen is left out.
//
// Thread, ownership, failure: see platform/screen/screen.h.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "media/view_layout.h"
#include "platform/screen/screen.h"
#include "platform/x11/screen_cursor.h"
#include "platform/x11/screen_image.h"
#include "platform/x11/x_display.h"

namespace NimboEngine {

class ScreenGrabber final : public ScreenReader {
 public:
  // `id` as in platform/x11/screen_monitors.h, on the server that $DISPLAY names.
  explicit ScreenGrabber(ScreenId id);

  Outcome grab() override;
  GstPtr<GstBuffer> frame(GstVideoInfo& info) override;
  const ScreenImage& image() const { return *image_; }

 private:
  // Where the pixels are read from.
  struct Place {
    xcb_drawable_t drawable;
    Rect part;  // of the drawable
    Rect area;  // of the desktop
  };

  xcb_connection_t* connection() const { return display_.connection.get(); }
  bool keepContents();
  Outcome locate(Place& place);
  Outcome locateMonitor(Place& place);
  Outcome locateWindow(Place& place);
  Outcome fetch(const Place& place);

  const ScreenId id_;
  const xcb_window_t window_;  // unless it is a monitor
  const XDisplay display_;
  const bool contentsAreKept_;  // the window's, while it is covered or outside the screen
  const xcb_pixmap_t pixmap_;   // its name for that
  ScreenCursor cursor_;
  std::unique_ptr<ScreenImage> image_;
  std::unique_ptr<ScreenImage> previous_;
};

}  // namespace NimboEngine

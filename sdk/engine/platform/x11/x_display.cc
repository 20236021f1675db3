#include "platform/x11/x_display.h"

#include <utility>

namespace NimboEngine {

XDisplay XDisplay::open() {
  int number = 0;
  XConnection connection(xcb_connect(nullptr, &number));
  if (xcb_connection_has_error(connection.get())) return {};
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
  for (; number > 0 && screens.rem > 1; --number) xcb_screen_next(&screens);
  return {std::move(connection), screens.data};
}

bool hasPlainPixels(xcb_connection_t* connection, uint8_t depth) {
  const xcb_setup_t* setup = xcb_get_setup(connection);
  if (setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) return false;
  for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem;
       xcb_format_next(&format)) {
    if (format.data->depth == depth) return depth >= 24 && format.data->bits_per_pixel == 32;
  }
  return false;
}

bool hasExtension(xcb_connection_t* connection, xcb_extension_t& extension) {
  if (!connection) return false;
  const auto* data = xcb_get_extension_data(connection, &extension);
  return data && data->present;
}

}  // namespace NimboEngine

#include "platform/x11/screen_cursor.h"

#include <algorithm>

#include "platform/x11/x_display.h"

namespace NimboEngine {
namespace {

// The server rejects other requests of the extension before this one.
bool introduce(xcb_connection_t* connection) {
  if (!hasExtension(connection, xcb_xfixes_id)) return false;
  const XReply<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
      connection, xcb_xfixes_query_version(connection, 4, 0), nullptr));
  return version != nullptr;
}

// `above` has its alpha in the upper byte, and premultiplied colours.
void blend(uint8_t* pixel, uint32_t above) {
  const uint32_t rest = 255 - (above >> 24);
  for (int channel = 0; channel < 3; ++channel) {
    const uint32_t colour = (above >> (8 * channel)) & 0xff;
    pixel[channel] = static_cast<uint8_t>(std::min(255U, colour + pixel[channel] * rest / 255));
  }
}

}  // namespace

ScreenCursor::ScreenCursor(xcb_connection_t* connection)
    : connection_(connection), known_(introduce(connection)) {}

void ScreenCursor::ask() {
  if (known_) question_ = xcb_xfixes_get_cursor_image(connection_);
}

void ScreenCursor::draw(uint8_t* pixels, const Rect& area) {
  if (!known_) return;
  const XReply<xcb_xfixes_get_cursor_image_reply_t> image(
      xcb_xfixes_get_cursor_image_reply(connection_, question_, nullptr));
  if (!image || !pixels) return;
  const uint32_t* colours = xcb_xfixes_get_cursor_image_cursor_image(image.get());
  const int left = image->x - image->xhot - area.x;
  const int top = image->y - image->yhot - area.y;
  const int firstRow = std::max(0, -top);
  const int endRow = std::min<int>(image->height, area.height - top);
  const int firstColumn = std::max(0, -left);
  const int endColumn = std::min<int>(image->width, area.width - left);
  for (int row = firstRow; row < endRow; ++row) {
    for (int column = firstColumn; column < endColumn; ++column) {
      const ptrdiff_t place = static_cast<ptrdiff_t>(top + row) * area.width + (left + column);
      blend(pixels + 4 * place, colours[row * image->width + column]);
    }
  }
}

}  // namespace NimboEngine

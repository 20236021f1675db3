#include "platform/x11/xcb_canvas.h"

#include <xcb/shm.h>

#include <algorithm>

namespace NimboEngine {
namespace {

constexpr size_t kPixelBytes = 4;

size_t bytes(Size size) {
  return kPixelBytes * static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
}

}  // namespace

XcbCanvas::XcbCanvas(uint32_t window)
    : window_(window), connection_(xcb_connect(nullptr, nullptr)) {}

XcbCanvas::~XcbCanvas() = default;

bool XcbCanvas::refresh() {
  xcb_connection_t* connection = connection_.get();
  if (xcb_connection_has_error(connection)) return false;
  // The reply also means that the server has processed all earlier requests.
  const XReply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window_), nullptr));
  while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
    // Discards errors of requests that were too late for the window.
  }
  if (!geometry) return false;
  if (gc_ == 0) {
    if (!hasPlainPixels(connection, geometry->depth)) return false;
    depth_ = geometry->depth;
    gc_ = xcb_generate_id(connection);
    xcb_create_gc(connection, gc_, window_, 0, nullptr);
  }
  const Size size{geometry->width, geometry->height};
  if (size != size_) resize(size);
  return true;
}

void XcbCanvas::resize(Size size) {
  size_ = size;
  shared_.reset();
  shared_ = ShmSegment::attach(connection_.get(), bytes(size));
  own_.assign(shared_ ? 0 : bytes(size), 0);
}

void XcbCanvas::show() {
  const auto width = static_cast<uint16_t>(size_.width);
  const auto height = static_cast<uint16_t>(size_.height);
  if (shared_) {
    xcb_shm_put_image(connection_.get(), window_, gc_, width, height, 0, 0, width, height, 0, 0,
                      depth_, XCB_IMAGE_FORMAT_Z_PIXMAP, 0, shared_->id(), 0);
  } else {
    send();
  }
  xcb_flush(connection_.get());
}

// In bands, since the length of a request is limited.
void XcbCanvas::send() {
  const size_t stride = kPixelBytes * static_cast<size_t>(size_.width);
  const size_t limit = 4UL * xcb_get_maximum_request_length(connection_.get());
  const size_t room = limit - sizeof(xcb_put_image_request_t) - sizeof(uint32_t);
  const int band = static_cast<int>(std::max<size_t>(1, room / stride));
  for (int y = 0; y < size_.height; y += band) {
    const int rows = std::min(band, size_.height - y);
    xcb_put_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window_, gc_,
                  static_cast<uint16_t>(size_.width), static_cast<uint16_t>(rows), 0,
                  static_cast<int16_t>(y), 0, depth_,
                  static_cast<uint32_t>(stride * static_cast<size_t>(rows)),
                  own_.data() + stride * static_cast<size_t>(y));
  }
}

}  // namespace NimboEngine

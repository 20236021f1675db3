#include "render/xcb_canvas.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>

#include <algorithm>

namespace NimboEngine {
namespace {

constexpr size_t kPixelBytes = 4;

struct Free {
  void operator()(void* reply) const { std::free(reply); }
};
template <class T>
using Reply = std::unique_ptr<T, Free>;

size_t bytes(Size size) {
  return kPixelBytes * static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
}

}  // namespace

std::unique_ptr<ShmSegment> ShmSegment::attach(xcb_connection_t* connection, size_t bytes) {
  const auto* extension = xcb_get_extension_data(connection, &xcb_shm_id);
  if (!extension || !extension->present) return nullptr;
  const int key = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
  if (key < 0) return nullptr;
  void* data = shmat(key, nullptr, 0);
  const uint32_t id = xcb_generate_id(connection);
  const Reply<xcb_generic_error_t> refused(
      xcb_request_check(connection, xcb_shm_attach_checked(connection, id, key, 0)));
  shmctl(key, IPC_RMID, nullptr);  // goes when both sides have detached, even after a crash
  if (reinterpret_cast<intptr_t>(data) == -1) return nullptr;
  if (refused || xcb_connection_has_error(connection)) {
    shmdt(data);
    return nullptr;
  }
  return std::unique_ptr<ShmSegment>(new ShmSegment(connection, id, static_cast<uint8_t*>(data)));
}

ShmSegment::~ShmSegment() {
  xcb_shm_detach(connection_, id_);
  shmdt(data_);
}

XcbCanvas::XcbCanvas(uint32_t window)
    : window_(window), connection_(xcb_connect(nullptr, nullptr)) {}

XcbCanvas::~XcbCanvas() = default;

bool XcbCanvas::refresh() {
  xcb_connection_t* connection = connection_.get();
  if (xcb_connection_has_error(connection)) return false;
  // The reply also tells that the server has done all that was asked before.
  const Reply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window_), nullptr));
  while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
    // Errors of requests that came too late for the window arrive here.
  }
  if (!geometry) return false;
  if (gc_ == 0) {
    if (!isDrawable(geometry->depth)) return false;
    depth_ = geometry->depth;
    gc_ = xcb_generate_id(connection);
    xcb_create_gc(connection, gc_, window_, 0, nullptr);
  }
  const Size size{geometry->width, geometry->height};
  if (size != size_) resize(size);
  return true;
}

// 24 or 32 bits in 32, least significant byte first: what every present desktop has.
bool XcbCanvas::isDrawable(uint8_t depth) const {
  const xcb_setup_t* setup = xcb_get_setup(connection_.get());
  if (setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) return false;
  for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem;
       xcb_format_next(&format)) {
    if (format.data->depth == depth) return depth >= 24 && format.data->bits_per_pixel == 32;
  }
  return false;
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

#include "platform/x11/screen_image.h"

#include <xcb/shm.h>

#include <cstring>

namespace NimboEngine {
namespace {

constexpr uint32_t kAllPlanes = ~0U;

size_t bytesOf(Size size) {
  return 4 * static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
}

}  // namespace

ScreenImage::ScreenImage(xcb_connection_t* connection, Size size)
    : connection_(connection),
      size_(size),
      shared_(ShmSegment::attach(connection, bytesOf(size))) {}

void ScreenImage::ask(xcb_drawable_t drawable, int x, int y) {
  const auto left = static_cast<int16_t>(x);
  const auto top = static_cast<int16_t>(y);
  const auto width = static_cast<uint16_t>(size_.width);
  const auto height = static_cast<uint16_t>(size_.height);
  if (shared_) {
    question_ = xcb_shm_get_image(connection_, drawable, left, top, width, height, kAllPlanes,
                                  XCB_IMAGE_FORMAT_Z_PIXMAP, shared_->id(), 0)
                    .sequence;
  } else {
    question_ = xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, left, top, width,
                              height, kAllPlanes)
                    .sequence;
  }
}

bool ScreenImage::take() {
  if (shared_) {
    const XReply<xcb_shm_get_image_reply_t> answer(
        xcb_shm_get_image_reply(connection_, {question_}, nullptr));
    taken_ = answer != nullptr;
  } else {
    sent_.reset(xcb_get_image_reply(connection_, {question_}, nullptr));
    taken_ = sent_ != nullptr;
  }
  return taken_;
}

uint8_t* ScreenImage::pixels() const {
  return shared_ ? shared_->data() : xcb_get_image_data(sent_.get());
}

bool ScreenImage::hasSamePixels(const ScreenImage& other) const {
  return taken_ && other.taken_ && std::memcmp(pixels(), other.pixels(), bytesOf(size_)) == 0;
}

}  // namespace NimboEngine

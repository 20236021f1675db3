#include "render/view_layout.h"

#include <algorithm>
#include <cstdint>

namespace NimboEngine {
namespace {

// The largest rectangle of the shape of `shape` in the middle of `room`.
Rect fitInto(Size shape, Size room) {
  const auto scaled = [](int length, int numerator, int denominator) {
    const int64_t exact = int64_t{length} * numerator;
    return static_cast<int>(std::max<int64_t>(1, (exact + denominator / 2) / denominator));
  };
  Rect rect{0, 0, room.width, room.height};
  if (int64_t{shape.width} * room.height > int64_t{room.width} * shape.height) {
    rect.height = std::min(room.height, scaled(room.width, shape.height, shape.width));
  } else {
    rect.width = std::min(room.width, scaled(room.height, shape.width, shape.height));
  }
  rect.x = (room.width - rect.width) / 2;
  rect.y = (room.height - rect.height) / 2;
  return rect;
}

}  // namespace

ViewLayout layOut(Size picture, Size view, ViewMode mode) {
  ViewLayout layout{{0, 0, picture.width, picture.height}, {0, 0, view.width, view.height}};
  if (mode == ViewMode::kFit) layout.target = fitInto(picture, view);
  if (mode == ViewMode::kCrop) {
    layout.source = fitInto(view, picture);
    layout.source.x &= ~1;
    layout.source.y &= ~1;
  }
  return layout;
}

}  // namespace NimboEngine

#include "media/view_layout.h"

#include <algorithm>
#include <cstdint>

namespace NimboEngine {
namespace {

// Returns the largest rectangle with the aspect ratio of `shape`, centred in `room`.
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

// One dimension of a layout: offset and length.
struct Span {
  int from;
  int length;
};

// Clips to 0 to `room`, and aligns to even positions. Returns false if nothing is left.
bool cut(Span& source, Span& target, int room) {
  const int first = std::max(target.from, 0) & ~1;
  const int end = std::min(target.from + target.length, room);
  if (first >= end) return false;
  const auto inSource = [&](int place) {
    const int64_t part = std::max(0, place - target.from);
    return source.from + static_cast<int>(part * source.length / target.length);
  };
  const int sourceFirst = inSource(first) & ~1;
  source = {sourceFirst, std::max(1, inSource(end) - sourceFirst)};
  target = {first, end - first};
  return true;
}

}  // namespace

ViewLayout layOut(Size frame, Size view, ViewMode mode) {
  ViewLayout layout{{0, 0, frame.width, frame.height}, {0, 0, view.width, view.height}};
  if (mode == ViewMode::kFit) layout.target = fitInto(frame, view);
  if (mode == ViewMode::kCrop) {
    layout.source = fitInto(view, frame);
    layout.source.x &= ~1;
    layout.source.y &= ~1;
  }
  return layout;
}

std::optional<ViewLayout> layOut(Size frame, const Rect& place, Size view, ViewMode mode) {
  const auto [source, target] = layOut(frame, {place.width, place.height}, mode);
  Span fromX{source.x, source.width};
  Span fromY{source.y, source.height};
  Span toX{place.x + target.x, target.width};
  Span toY{place.y + target.y, target.height};
  if (!cut(fromX, toX, view.width) || !cut(fromY, toY, view.height)) return std::nullopt;
  return ViewLayout{{fromX.from, fromY.from, fromX.length, fromY.length},
                    {toX.from, toY.from, toX.length, toY.length}};
}

}  // namespace NimboEngine

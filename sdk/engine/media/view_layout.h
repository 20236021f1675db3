// Places a frame in a view of another aspect ratio.
//
// Thread: any; plain functions of their arguments.

#pragma once

#include <optional>

namespace NimboEngine {

enum class ViewMode {
  kFit,      // the whole frame, with borders
  kCrop,     // the view filled, the frame cropped
  kStretch,  // the view filled, the frame distorted
};

// How a frame is shown. Rotated first, then mirrored: left and right are those of the viewer.
struct ViewStyle {
  ViewMode mode = ViewMode::kFit;
  bool mirror = false;
  int quarterTurns = 0;  // clockwise, 0 to 3

  bool isUpright() const { return !mirror && quarterTurns == 0; }
};

struct Size {
  int width = 0;
  int height = 0;
  bool operator==(const Size&) const = default;
};

struct Rect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool operator==(const Rect&) const = default;
};

// The visible part of the frame, and its place in the view.
struct ViewLayout {
  Rect source;
  Rect target;
  bool operator==(const ViewLayout&) const = default;
};

// All sizes in pixels, at least 1. The layout's rectangles are at least 1 by 1 and inside the frame
// and the view; the source starts at even positions, where I420 has chroma samples.
ViewLayout layOut(Size frame, Size view, ViewMode mode);

// The same for a place that need not lie inside the view: it is clipped. None if nothing is left.
// The target starts at even positions too; if the place does not, one column or row is added. The
// place's numbers must not be beyond 2^29.
std::optional<ViewLayout> layOut(Size frame, const Rect& place, Size view, ViewMode mode);

}  // namespace NimboEngine

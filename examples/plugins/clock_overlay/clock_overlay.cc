// Draws the time of day into a corner of the frame, white on a darkened box. Parameters, as a JSON
// object; a key that is left out keeps its value:
//
//   "position"  "top-left", "top-right", "bottom-left" or "bottom-right" (the default) "size"
//   height of the font as a fraction of the frame's, 0.02 to 0.5; 0.06 by default "text"      a
//   text before the time, at most 100 bytes; "" by default
//
// A JSON text with an invalid value changes nothing.

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

#include "common/frame_plugin.h"
#include "common/json_parameters.h"
#include "common/shared_value.h"
#include "label.h"

namespace ExamplePlugins {
namespace {

struct Corner {
  const char* name;
  bool atRight;
  bool atBottom;
};

constexpr Corner kCorners[] = {
    {"top-left", false, false},
    {"top-right", true, false},
    {"bottom-left", false, true},
    {"bottom-right", true, true},
};

struct Settings {
  const Corner* corner = &kCorners[3];
  double size = 0.06;
  std::string text;
};

bool readCorner(const Json& value, const Corner*& target) {
  const auto* found = std::ranges::find_if(
      kCorners, [&value](const Corner& corner) { return value == corner.name; });
  target = found;
  return found != std::end(kCorners);
}

std::string timeOfDay() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::array<char, 16> text{};
  std::strftime(text.data(), text.size(), "%H:%M:%S", &local);
  return text.data();
}

// Blends the label into the frame; `left` and `top` are even. Parts outside are clipped.
void blend(const Planes& planes, const Label& label, int left, int top) {
  constexpr int kBlack = 16;
  constexpr int kWhite = 235;
  constexpr int kNoColour = 128;
  const auto [luma, chromaU, chromaV] = planes;

  const int width = std::min(label.width, luma.width - left);
  const int height = std::min(label.height, luma.height - top);
  for (int y = 0; y < height; ++y) {
    const unsigned char* ink = label.ink.data() + static_cast<std::ptrdiff_t>(y) * label.width;
    for (auto& pixel : luma.row(top + y).subspan(left, width)) {
      const int dark = (pixel + 2 * kBlack) / 3;
      pixel = static_cast<unsigned char>(dark + (kWhite - dark) * *ink++ / 255);
    }
  }
  for (const Plane& plane : {chromaU, chromaV}) {
    for (int y = 0; y < (height + 1) / 2; ++y) {
      std::ranges::fill(plane.row(top / 2 + y).subspan(left / 2, (width + 1) / 2), kNoColour);
    }
  }
}

class ClockOverlay : public FramePlugin {
 public:
  bool init() override {
    // Fonts are searched for here, and not while the capture thread waits.
    return drawLabel("0", 16, 16).width > 0;
  }

  bool setParameter(const char* text) override {
    Settings next = *settings_.get();
    const bool accepted = readObject(text, [&next](const std::string& key, const Json& value) {
      if (key == "position") return readCorner(value, next.corner);
      if (key == "size") return readNumber(value, 0.02, 0.5, next.size);
      if (key == "text") return readLine(value, 100, next.text);
      return false;
    });
    if (accepted) settings_.set(std::move(next));
    return accepted;
  }

 private:
  // The label's text and appearance.
  struct Content {
    std::string text;
    int fontSize = 0;
    int mostWidth = 0;
    bool operator==(const Content&) const = default;
  };

  void process(const Planes& planes) override {
    const auto settings = settings_.get();
    const auto& luma = planes[0];
    const int fontSize = std::max(8, static_cast<int>(std::lround(settings->size * luma.height)));
    const std::string before = settings->text.empty() ? "" : settings->text + "  ";
    const Content content{before + timeOfDay(), fontSize, luma.width};
    if (content != drawn_) {
      label_ = drawLabel(content.text, content.fontSize, content.mostWidth);
      drawn_ = content;
    }
    const int distance = fontSize / 2;
    const Corner& corner = *settings->corner;
    const int left = place(luma.width - label_.width, distance, corner.atRight);
    const int top = place(luma.height - label_.height, distance, corner.atBottom);
    blend(planes, label_, left, top);
  }

  // Returns where the label starts if `room` pixels are left beside it.
  static int place(int room, int distance, bool atEnd) {
    const int start = atEnd ? room - distance : distance;
    return std::clamp(start, 0, std::max(room, 0)) & ~1;
  }

  SharedValue<Settings> settings_;
  // Used on the capture thread only.
  Content drawn_;
  Label label_;
};

}  // namespace

std::unique_ptr<FramePlugin> createPlugin() {
  return std::make_unique<ClockOverlay>();
}

}  // namespace ExamplePlugins

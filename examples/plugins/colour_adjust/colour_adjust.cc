// Adjusts the colours. Parameters, as a JSON object; a key that is left out keeps its value:
//
//   "brightness"  -1 to 1      0: as it is; 1 lifts black to white
//   "contrast"     0 to 4      1: as it is; 0: grey throughout
//   "saturation"   0 to 4      1: as it is; 0: without colour
//   "hue"       -180 to 180    0: as it is; in degrees, from red towards yellow
//
// A JSON text with an invalid value changes nothing.

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "common/frame_plugin.h"
#include "common/json_parameters.h"
#include "common/shared_value.h"

namespace ExamplePlugins {
namespace {

struct Settings {
  double brightness = 0;
  double contrast = 1;
  double saturation = 1;
  double hue = 0;
};

// Y of black and white, and U and V of grey, in the limited range of I420 video.
constexpr double kBlack = 16;
constexpr double kWhite = 235;
constexpr int kNoColour = 128;

unsigned char toByte(long value) {
  return static_cast<unsigned char>(std::clamp(value, 0L, 255L));
}

void adjustLuma(const Plane& plane, const Settings& settings) {
  constexpr double kMiddle = (kBlack + kWhite) / 2;
  std::array<unsigned char, 256> adjusted{};
  for (std::size_t y = 0; y < adjusted.size(); ++y) {
    const double contrasted = (static_cast<double>(y) - kMiddle) * settings.contrast + kMiddle;
    adjusted[y] = toByte(std::lround(contrasted + settings.brightness * (kWhite - kBlack)));
  }
  for (int y = 0; y < plane.height; ++y) {
    for (auto& pixel : plane.row(y)) pixel = adjusted[pixel];
  }
}

// (U, V) is a point in a plane with grey at its origin: its distance is the saturation, its
// direction the hue.
void adjustChroma(const Plane& planeU, const Plane& planeV, const Settings& settings) {
  constexpr int kOne = 1 << 16;  // whole numbers are several times as fast here
  const double gain = settings.contrast * settings.saturation * kOne;
  const double angle = settings.hue * std::numbers::pi / 180;
  const auto cosine = static_cast<int>(std::lround(gain * std::cos(angle)));
  const auto sine = static_cast<int>(std::lround(gain * std::sin(angle)));
  for (int y = 0; y < planeU.height; ++y) {
    const auto rowU = planeU.row(y);
    const auto rowV = planeV.row(y);
    for (std::size_t x = 0; x < rowU.size(); ++x) {
      const int u = rowU[x] - kNoColour;
      const int v = rowV[x] - kNoColour;
      rowU[x] = toByte(((cosine * u - sine * v + kOne / 2) >> 16) + kNoColour);
      rowV[x] = toByte(((sine * u + cosine * v + kOne / 2) >> 16) + kNoColour);
    }
  }
}

class ColourAdjust : public FramePlugin {
 public:
  bool setParameter(const char* text) override {
    Settings next = *settings_.get();
    const bool accepted = readObject(text, [&next](const std::string& key, const Json& value) {
      if (key == "brightness") return readNumber(value, -1, 1, next.brightness);
      if (key == "contrast") return readNumber(value, 0, 4, next.contrast);
      if (key == "saturation") return readNumber(value, 0, 4, next.saturation);
      if (key == "hue") return readNumber(value, -180, 180, next.hue);
      return false;
    });
    if (accepted) settings_.set(next);
    return accepted;
  }

 private:
  void process(const Planes& planes) override {
    const auto settings = settings_.get();
    adjustLuma(planes[0], *settings);
    adjustChroma(planes[1], planes[2], *settings);
  }

  SharedValue<Settings> settings_;
};

}  // namespace

std::unique_ptr<FramePlugin> createPlugin() {
  return std::make_unique<ColourAdjust>();
}

}  // namespace ExamplePlugins

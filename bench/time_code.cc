// A plug-in that writes the time into the frame: the low 32 bits of the monotonic clock's
// milliseconds, highest bit first, as 32 black or white columns in the upper sixteenth. They
// survive encoding at any usual bit rate. bench/latency.js reads them back.

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "common/frame_plugin.h"

namespace ExamplePlugins {
namespace {

constexpr int kBits = 32;
constexpr unsigned char kBlack = 16;
constexpr unsigned char kWhite = 235;
constexpr unsigned char kColourless = 128;

uint32_t now() {
  using std::chrono::milliseconds;
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint32_t>(std::chrono::duration_cast<milliseconds>(time).count());
}

class TimeCode : public FramePlugin {
  void process(const Planes& planes) override {
    const uint32_t time = now();
    for (const Plane& plane : planes) {
      const bool isLuma = &plane == planes.data();
      for (int y = 0; y < plane.height / 16; ++y) {
        const auto row = plane.row(y);
        if (!isLuma) {
          std::ranges::fill(row, kColourless);
          continue;
        }
        for (int x = 0; x < plane.width; ++x) {
          const int bit = kBits - 1 - x * kBits / plane.width;
          row[static_cast<std::size_t>(x)] = (time >> bit & 1U) != 0 ? kWhite : kBlack;
        }
      }
    }
  }
};

}  // namespace

std::unique_ptr<FramePlugin> createPlugin() {
  return std::make_unique<TimeCode>();
}

}  // namespace ExamplePlugins

// Mirrors the frame left to right. Takes no parameters.

#include <algorithm>

#include "common/frame_plugin.h"

namespace ExamplePlugins {
namespace {

class Mirror : public FramePlugin {
  void process(const Planes& planes) override {
    for (const Plane& plane : planes) {
      for (int y = 0; y < plane.height; ++y) std::ranges::reverse(plane.row(y));
    }
  }
};

}  // namespace

std::unique_ptr<FramePlugin> createPlugin() {
  return std::make_unique<Mirror>();
}

}  // namespace ExamplePlugins

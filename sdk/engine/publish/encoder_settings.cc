#include "publish/encoder_settings.h"

#include <iterator>

namespace NimboEngine {
namespace {

struct Rung {
  int pixels;
  int kbps;
};

// For 30 frames per second: about the middle of what large live-streaming services recommend for
// H.264 of these sizes (for example 1500 to 4000 kbit/s for 1280x720).
constexpr Rung kRungs[] = {
    {320 * 180, 300},  {426 * 240, 450},   {640 * 360, 800},    {854 * 480, 1200},
    {960 * 540, 1600}, {1280 * 720, 2500}, {1920 * 1080, 4500}, {2560 * 1440, 9000},
};

int kbpsAt30(int pixels) {
  for (const Rung& rung : kRungs) {
    if (pixels <= rung.pixels) return rung.kbps;
  }
  const Rung& top = kRungs[std::size(kRungs) - 1];
  return static_cast<int>(static_cast<int64_t>(top.kbps) * pixels / top.pixels);
}

}  // namespace

// Half of the rate is proportional to the frame rate: at a lower one, successive frames differ
// more.
int defaultVideoKbps(const VideoFormat& format) {
  const int kbps = kbpsAt30(format.width * format.height);
  return kbps / 2 + kbps / 2 * format.fps / 30;
}

BitrateLimits bitrateLimits(const EncoderSettings& settings) {
  const auto orElse = [](int kbps, int otherwise) {
    return kbps == kRateNotSet ? otherwise : kbps;
  };
  const int target = orElse(settings.videoKbps, defaultVideoKbps(settings.video));
  return {.minimum = orElse(settings.minVideoKbps, target / 4),
          .target = target,
          .initial = orElse(settings.initialVideoKbps, target),
          .controlled = settings.controlsBitrate};
}

}  // namespace NimboEngine

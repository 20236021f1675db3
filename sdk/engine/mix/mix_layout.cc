#include "mix/mix_layout.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "mix/mix_streams.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

constexpr std::size_t kMostPlaces = 16;
// The largest coordinate that a place may reach, in either direction: computations with it stay
// exact.
constexpr int kFarthest = 16384;

Result<void> checkPlace(const Rect& rect) {
  if (rect.width <= 0 || rect.height <= 0) {
    return refused("its size is {}x{}", rect.width, rect.height);
  }
  const auto isFar = [](int number) { return number < -kFarthest || number > kFarthest; };
  if (isFar(rect.x) || isFar(rect.y) || isFar(rect.width) || isFar(rect.height)) {
    return refused("its place is {}x{} at {},{}, more than {} pixels", rect.width, rect.height,
                   rect.x, rect.y, kFarthest);
  }
  return {};
}

Result<void> checkConfig(const LumoLiveTranscodingConfig& config) {
  if (config.cropMode > static_cast<uint32_t>(ViewMode::kStretch)) {
    return refused("the crop mode is {}, not 0 to 2", config.cropMode);
  }
  const std::size_t count = streamsOf(config.mixStreams).size();
  if (count > kMostPlaces) return refused("{} streams, more than {}", count, kMostPlaces);
  return {};
}

}  // namespace

Result<MixLayout> makeMixLayout(const LumoLiveTranscodingConfig& config,
                                const FindMixUser& findUser) {
  if (const auto checked = checkConfig(config); !checked) return tl::unexpected(checked.error());
  std::vector<LumoLiveMixStream> streams = streamsOf(config.mixStreams);
  std::stable_sort(streams.begin(), streams.end(),
                   [](const auto& low, const auto& high) { return low.zOrder < high.zOrder; });
  MixLayout layout{static_cast<uint32_t>(config.backgroundColor) & 0xffffff,
                   static_cast<ViewMode>(config.cropMode),
                   {}};
  for (const LumoLiveMixStream& stream : streams) {
    const char* const name = stream.userId.c_str();
    const Rect rect{stream.x, stream.y, stream.width, stream.height};
    if (const auto checked = checkPlace(rect); !checked) {
      return refused("user \"{}\": {}", name, checked.error().text);
    }
    const std::optional<MixUser> user = findUser(name);
    if (!user) {
      return failed(kLumoLiveNotFound, "user \"{}\": no player has this ID or plays this URL",
                    name);
    }
    if (std::any_of(layout.places.begin(), layout.places.end(),
                    [&](const MixPlace& place) { return place.user == *user; })) {
      return refused("user \"{}\": placed twice", name);
    }
    layout.places.push_back({*user, rect});
  }
  return layout;
}

}  // namespace NimboEngine

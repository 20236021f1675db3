#include "mix/mix_layout.h"

#include <fmt/format.h>

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

std::string errorOf(const Rect& rect) {
  if (rect.width <= 0 || rect.height <= 0) {
    return fmt::format("its size is {}x{}", rect.width, rect.height);
  }
  const auto isFar = [](int number) { return number < -kFarthest || number > kFarthest; };
  if (isFar(rect.x) || isFar(rect.y) || isFar(rect.width) || isFar(rect.height)) {
    return fmt::format("its place is {}x{} at {},{}, more than {} pixels", rect.width, rect.height,
                       rect.x, rect.y, kFarthest);
  }
  return "";
}

std::string errorOf(const LumoLiveTranscodingConfig& config) {
  if (config.cropMode > static_cast<uint32_t>(ViewMode::kStretch)) {
    return fmt::format("the crop mode is {}, not 0 to 2", config.cropMode);
  }
  const std::size_t count = streamsOf(config.mixStreams).size();
  return count > kMostPlaces ? fmt::format("{} streams, more than {}", count, kMostPlaces) : "";
}

}  // namespace

LumoLiveResult makeMixLayout(const LumoLiveTranscodingConfig& config, const FindMixUser& findUser,
                             MixLayout& layout, std::string& error) {
  error = errorOf(config);
  if (!error.empty()) return kLumoLiveInvalidArgument;
  std::vector<LumoLiveMixStream> streams = streamsOf(config.mixStreams);
  std::stable_sort(streams.begin(), streams.end(),
                   [](const auto& low, const auto& high) { return low.zOrder < high.zOrder; });
  MixLayout made{static_cast<uint32_t>(config.backgroundColor) & 0xffffff,
                 static_cast<ViewMode>(config.cropMode),
                 {}};
  for (const LumoLiveMixStream& stream : streams) {
    const auto refuse = [&](LumoLiveResult result, const std::string& reason) {
      error = fmt::format("user \"{}\": {}", stream.userId.c_str(), reason);
      return result;
    };
    const Rect rect{stream.x, stream.y, stream.width, stream.height};
    if (const std::string wrong = errorOf(rect); !wrong.empty()) {
      return refuse(kLumoLiveInvalidArgument, wrong);
    }
    const std::optional<MixUser> user = findUser(stream.userId.c_str());
    if (!user) return refuse(kLumoLiveNotFound, "no player has this ID or plays this URL");
    if (std::any_of(made.places.begin(), made.places.end(),
                    [&](const MixPlace& place) { return place.user == *user; })) {
      return refuse(kLumoLiveInvalidArgument, "placed twice");
    }
    made.places.push_back({*user, rect});
  }
  layout = std::move(made);
  return kLumoLiveOk;
}

}  // namespace NimboEngine

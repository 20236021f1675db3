// Layout of a mix: the places of its users, and the validation of a layout that an application
// requests.
//
// Thread: plain values.
// Ownership: a layout shares the streams of the players that it names.

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "NimboSdk/LumoLiveDefine.h"
#include "base/result.h"
#include "media/view_layout.h"
#include "mix/mix_user.h"

namespace NimboEngine {

struct MixPlace {
  MixUser user;
  Rect rect;  // in the published frame, possibly outside of it
};

struct MixLayout {
  uint32_t background = 0;  // 0xRRGGBB
  ViewMode mode = ViewMode::kCrop;
  std::vector<MixPlace> places;  // the lowest first
};

using FindMixUser = std::function<std::optional<MixUser>(const std::string& userId)>;

// Validates the requested layout. The code is kLumoLiveNotFound for a user unknown to `findUser`.
Result<MixLayout> makeMixLayout(const LumoRtc::LumoLiveTranscodingConfig& config,
                                const FindMixUser& findUser);

}  // namespace NimboEngine

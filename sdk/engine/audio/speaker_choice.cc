#include "audio/speaker_choice.h"

#include <algorithm>

namespace NimboEngine {

using LumoRtc::LumoLivePlayer;

bool SpeakerChoice::speaks(const UserLevel& user) const {
  return user.reading.peak >= kQuietest && (user.reading.voice || !byVoice_);
}

const UserLevel* SpeakerChoice::loudestBesideActive(const std::vector<UserLevel>& users) const {
  const UserLevel* loudest = nullptr;
  for (const UserLevel& user : users) {
    if (user.player == active_ || !speaks(user)) continue;
    if (!loudest || user.reading.peak > loudest->reading.peak) loudest = &user;
  }
  return loudest;
}

std::optional<LumoLivePlayer*> SpeakerChoice::update(Time now,
                                                     const std::vector<UserLevel>& users) {
  const auto present = std::find_if(
      users.begin(), users.end(), [this](const UserLevel& user) { return user.player == active_; });
  if (present == users.end()) {
    active_.reset();
  } else if (speaks(*present)) {
    lastAudible_ = now;
  }
  const bool taken = active_ && now - lastAudible_ < kPause;
  const UserLevel* loudest = loudestBesideActive(users);
  if (!loudest || (taken && loudest->reading.peak < kClearlyLouder * present->reading.peak)) {
    challenger_.reset();
    return std::nullopt;
  }
  if (!challenger_ || challenger_->player != loudest->player) {
    challenger_ = {loudest->player, now};
  }
  if (now - challenger_->since < (taken ? kTakeover : kEntry)) return std::nullopt;
  active_ = loudest->player;
  lastAudible_ = now;
  challenger_.reset();
  return active_;
}

}  // namespace NimboEngine

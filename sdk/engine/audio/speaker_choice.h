// Decides who the active speaker is. It is given the time and knows no sound.
//
// Who speaks is whoever is above -40 dBFS and, where voice is listened for, has voice. The loudest
// of those becomes the active speaker: after 0.2 s when the present one has been quiet for half a
// second; else after 0.6 s of being twice as loud as he is. So a cough changes nothing, and two
// people who speak at once do not take turns with every word. Whoever has become it stays it while
// all are quiet, until somebody else takes over or he leaves.
//
// Thread: one at a time.

#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "audio/volume_records.h"

namespace NimboEngine {

class SpeakerChoice {
 public:
  using Time = std::chrono::steady_clock::time_point;

  static constexpr double kQuietest = 0.01;
  static constexpr double kClearlyLouder = 2;
  static constexpr std::chrono::milliseconds kEntry{200};
  static constexpr std::chrono::milliseconds kTakeover{600};
  static constexpr std::chrono::milliseconds kPause{500};

  explicit SpeakerChoice(bool byVoice) : byVoice_(byVoice) {}

  // Takes what was read up to `now`. The new active speaker (without a player: the local user) when
  // that has just changed.
  std::optional<LumoRtc::LumoLivePlayer*> update(Time now, const std::vector<UserLevel>& users);

 private:
  struct Challenger {
    LumoRtc::LumoLivePlayer* player;
    Time since;
  };

  bool speaks(const UserLevel& user) const;
  const UserLevel* loudestBesideActive(const std::vector<UserLevel>& users) const;

  bool byVoice_;
  std::optional<LumoRtc::LumoLivePlayer*> active_;
  Time lastAudible_;  // of the active one
  std::optional<Challenger> challenger_;
};

}  // namespace NimboEngine

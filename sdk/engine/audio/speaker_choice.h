// Decides who the active speaker is, from levels and the time that it is given.
//
// A user speaks while above -40 dBFS and, where voice detection is on, while voice is detected. The
// loudest of those becomes the active speaker: after 0.2 s when the current one has been quiet for
// half a second; else after 0.6 s of being twice as loud as the current one. So a cough changes
// nothing, and two people who speak at once do not alternate with every word. The active speaker
// stays active while everybody is quiet, until another user takes over or the speaker leaves.
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

  // Takes the levels read up to `now`. Returns the new active speaker (null: the local user) if it
  // has just changed.
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

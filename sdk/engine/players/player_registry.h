// The players of this process, for those who do not know them otherwise: a mix finds what a player
// plays by the player's ID or by the URL, and volume reports list the players that can be heard.
//
// Thread: any.
// Ownership: LivePlayer and its session share a RegisteredPlayer; streams and meters are shared
//   with whoever found them.
// Failure: what is not found is null.

#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "NimboSdk/LumoLiveDefine.h"
#include "audio/level_meter.h"
#include "players/remote_stream.h"

namespace NimboEngine {

// Raise a player's own volume events, as far as it still plays by then.
struct VolumeEvents {
  std::function<void(const LumoRtc::LumoLiveUserVolumeInfo&)> onVolume;
  std::function<void()> onActiveSpeaker;
};

// One player's entry, from construction to withdraw() or destruction.
class RegisteredPlayer {
 public:
  // `player` is the pointer that the application knows: an identity only.
  explicit RegisteredPlayer(LumoRtc::LumoLivePlayer* player);
  ~RegisteredPlayer();
  RegisteredPlayer(const RegisteredPlayer&) = delete;
  RegisteredPlayer& operator=(const RegisteredPlayer&) = delete;

  // The application has given the player back: it is not found any more, for good.
  void withdraw();

  // What the player is asked to play; "": nothing.
  void setUrl(const std::string& url);

  // From now on the player has its record in volume reports, or has none any more.
  void setAudible(VolumeEvents events);
  void setInaudible();

  const std::shared_ptr<RemoteStream>& stream() const { return stream_; }
  LevelMeter& meter() const { return *meter_; }

 private:
  const std::shared_ptr<RemoteStream> stream_;
  const std::shared_ptr<LevelMeter> meter_;
};

// What the player with this ID plays. The ID is the text of the player's pointer.
std::shared_ptr<RemoteStream> findStreamById(const std::string& id);

// What is played from this URL: of several players by the one that began last.
std::shared_ptr<RemoteStream> findStreamByUrl(const std::string& url);

struct AudiblePlayer {
  LumoRtc::LumoLivePlayer* player = nullptr;
  std::shared_ptr<LevelMeter> meter;
  VolumeEvents events;
};

// In the order in which they became audible.
std::vector<AudiblePlayer> audiblePlayers();

}  // namespace NimboEngine

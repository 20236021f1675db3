// The registry of this process's players: a mix finds a player's stream by the player's ID or by
// the URL, and volume reports list the audible players.
//
// Thread: any.
// Ownership: LivePlayer and its session share a RegisteredPlayer; streams and meters are shared
//   with those who look them up.
// Failure: lookups return null if nothing is found.

#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "NimboSdk/LumoLiveDefine.h"
#include "audio/level_meter.h"
#include "players/remote_stream.h"

namespace NimboEngine {

// Raise a player's own volume events if it still plays by then.
struct VolumeEvents {
  std::function<void(const LumoRtc::LumoLiveUserVolumeInfo&)> onVolume;
  std::function<void()> onActiveSpeaker;
};

// One player's entry, from construction to withdraw() or destruction.
class RegisteredPlayer {
 public:
  // `player` is the pointer that the application has: an identity only.
  explicit RegisteredPlayer(LumoRtc::LumoLivePlayer* player);
  ~RegisteredPlayer();
  RegisteredPlayer(const RegisteredPlayer&) = delete;
  RegisteredPlayer& operator=(const RegisteredPlayer&) = delete;

  // To be called when the application has released the player: it is never found again.
  void withdraw();

  // The URL that the player is requested to play; "": none.
  void setUrl(const std::string& url);

  // Adds the player's record to volume reports, or removes it.
  void setAudible(VolumeEvents events);
  void setInaudible();

  const std::shared_ptr<RemoteStream>& stream() const { return stream_; }
  LevelMeter& meter() const { return *meter_; }

 private:
  const std::shared_ptr<RemoteStream> stream_;
  const std::shared_ptr<LevelMeter> meter_;
};

// Returns the stream of the player with this ID. The ID is the text of the player's pointer.
std::shared_ptr<RemoteStream> findStreamById(const std::string& id);

// Returns the stream that is played from this URL, of several players that of the one that started
// last.
std::shared_ptr<RemoteStream> findStreamByUrl(const std::string& url);

struct AudiblePlayer {
  LumoRtc::LumoLivePlayer* player = nullptr;
  std::shared_ptr<LevelMeter> meter;
  VolumeEvents events;
};

// Returns the audible players in the order in which they became audible.
std::vector<AudiblePlayer> audiblePlayers();

}  // namespace NimboEngine

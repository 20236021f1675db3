#include "api/audible_players.h"

#include <mutex>
#include <utility>

#include "base/never_destroyed.h"

namespace NimboEngine {
namespace {

// Never destroyed: players may play while the process exits.
struct Players {
  std::mutex mutex;
  std::vector<AudiblePlayer> players;
};

Players& thePlayers() {
  static NeverDestroyed<Players> players;
  return *players;
}

}  // namespace

void addAudiblePlayer(AudiblePlayer player) {
  std::lock_guard lock(thePlayers().mutex);
  thePlayers().players.push_back(std::move(player));
}

void removeAudiblePlayer(const std::shared_ptr<LevelMeter>& meter) {
  std::lock_guard lock(thePlayers().mutex);
  std::erase_if(thePlayers().players,
                [&](const AudiblePlayer& player) { return player.meter == meter; });
}

std::vector<AudiblePlayer> audiblePlayers() {
  std::lock_guard lock(thePlayers().mutex);
  return thePlayers().players;
}

}  // namespace NimboEngine

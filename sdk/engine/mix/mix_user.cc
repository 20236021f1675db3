#include "mix/mix_user.h"

#include <utility>

#include "players/player_registry.h"

namespace NimboEngine {

std::optional<MixUser> findMixUser(const std::string& userId) {
  if (userId.empty() || userId == kLocalMixUser) return MixUser{};
  if (auto player = findStreamById(userId)) return MixUser{std::move(player), ""};
  if (findStreamByUrl(userId)) return MixUser{nullptr, userId};
  return std::nullopt;
}

std::shared_ptr<RemoteStream> streamOf(const MixUser& user) {
  return user.player ? user.player : findStreamByUrl(user.url);
}

}  // namespace NimboEngine

// Who can be placed in a mix: the local user, or what one of the process's players plays.
//
// Thread: any.
// Ownership: a user shares the stream of the player that it means.
// Failure: what is not found is null.

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "players/remote_stream.h"

namespace NimboEngine {

// What the local user is called; "" is the same.
inline constexpr char kLocalMixUser[] = "local";

struct MixUser {
  std::shared_ptr<RemoteStream> player;  // null: by URL
  std::string url;                       // "" without a player: the local user

  bool isLocal() const { return !player && url.empty(); }
  bool operator==(const MixUser&) const = default;
};

// Who is meant by a user ID now. A player's ID means that player for ever, also when a later player
// is given the same address; a URL means whoever plays it at any time, of several players the one
// that began last.
std::optional<MixUser> findMixUser(const std::string& userId);

// What `user`, who is not the local one, plays. Null when nobody plays the URL.
std::shared_ptr<RemoteStream> streamOf(const MixUser& user);

}  // namespace NimboEngine

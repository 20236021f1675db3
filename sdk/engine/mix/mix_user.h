// A user that can be placed in a mix: the local user, or the stream of one of the process's
// players.
//
// Thread: any.
// Ownership: a user shares the stream of its player.
// Failure: lookups return null if nothing is found.

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "players/remote_stream.h"

namespace NimboEngine {

// The local user's ID; "" is the same.
inline constexpr char kLocalMixUser[] = "local";

struct MixUser {
  std::shared_ptr<RemoteStream> player;  // null: by URL
  std::string url;                       // "" without a player: the local user

  bool isLocal() const { return !player && url.empty(); }
  bool operator==(const MixUser&) const = default;
};

// Resolves a user ID. A player's ID keeps referring to that player, even if a later player is
// created at the same address; a URL refers to whichever player plays it at the time, of several
// the one that started last.
std::optional<MixUser> findMixUser(const std::string& userId);

// Returns the stream that `user`, not the local one, plays. Null if no player plays the URL.
std::shared_ptr<RemoteStream> streamOf(const MixUser& user);

}  // namespace NimboEngine

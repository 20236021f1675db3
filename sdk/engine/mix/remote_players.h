// The players of this process, as a mix finds them: by their ID, the text of the player's pointer,
// or by the URL that they play.
//
// Thread: any.
// Ownership: an entry lives as long as its RemotePlayer; the streams are shared.
// Failure: what is not found is null.

#pragma once

#include <memory>
#include <string>

#include "mix/mix_layout.h"
#include "players/remote_stream.h"

namespace NimboEngine {

// One player's entry.
class RemotePlayer {
 public:
  // `player` is the pointer that the application knows; it is not used otherwise.
  explicit RemotePlayer(const void* player);
  ~RemotePlayer();
  RemotePlayer(const RemotePlayer&) = delete;
  RemotePlayer& operator=(const RemotePlayer&) = delete;

  // "": nothing any more.
  void setUrl(const std::string& url);

  const std::shared_ptr<RemoteStream>& stream() const { return stream_; }

 private:
  const std::shared_ptr<RemoteStream> stream_;
};

// Who is meant by a user ID now. A player's ID means that player for ever, also when a later player
// is given the same address; a URL means whoever plays it at any time, of several players the one
// that began last.
std::optional<MixUser> findMixUser(const std::string& userId);

// What `user`, who is not the local one, plays. Null when nobody plays the URL.
std::shared_ptr<RemoteStream> streamOf(const MixUser& user);

}  // namespace NimboEngine

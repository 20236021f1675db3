#include "mix/remote_players.h"

#include <algorithm>
#include <mutex>
#include <sstream>
#include <vector>

#include "base/never_destroyed.h"

namespace NimboEngine {
namespace {

struct Entry {
  std::string id;
  std::string url;
  std::shared_ptr<RemoteStream> stream;
};

// Never destroyed: a process may end while players and a mix run.
class Registry {
 public:
  static Registry& get() {
    static NeverDestroyed<Registry> registry;
    return *registry;
  }

  void add(Entry entry) {
    std::lock_guard lock(mutex_);
    entries_.push_back(std::move(entry));
  }

  void remove(const RemoteStream* stream) {
    std::lock_guard lock(mutex_);
    std::erase_if(entries_, [=](const Entry& entry) { return entry.stream.get() == stream; });
  }

  // Its player is the one that began last: it goes to the front.
  void setUrl(const RemoteStream* stream, const std::string& url) {
    std::lock_guard lock(mutex_);
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [=](const Entry& each) { return each.stream.get() == stream; });
    entry->url = url;
    std::rotate(entries_.begin(), entry, entry + 1);
  }

  std::shared_ptr<RemoteStream> find(std::string Entry::*key, const std::string& value) const {
    std::lock_guard lock(mutex_);
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& each) { return each.*key == value; });
    return entry == entries_.end() ? nullptr : entry->stream;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Entry> entries_;
};

std::string idOf(const void* player) {
  std::ostringstream text;
  text << player;
  return text.str();
}

}  // namespace

RemotePlayer::RemotePlayer(const void* player) : stream_(std::make_shared<RemoteStream>()) {
  Registry::get().add({idOf(player), "", stream_});
}

RemotePlayer::~RemotePlayer() {
  Registry::get().remove(stream_.get());
}

void RemotePlayer::setUrl(const std::string& url) {
  Registry::get().setUrl(stream_.get(), url);
}

std::optional<MixUser> findMixUser(const std::string& userId) {
  if (userId.empty() || userId == kLocalMixUser) return MixUser{};
  if (auto player = Registry::get().find(&Entry::id, userId)) return MixUser{std::move(player), ""};
  if (Registry::get().find(&Entry::url, userId)) return MixUser{nullptr, userId};
  return std::nullopt;
}

std::shared_ptr<RemoteStream> streamOf(const MixUser& user) {
  return user.player ? user.player : Registry::get().find(&Entry::url, user.url);
}

}  // namespace NimboEngine

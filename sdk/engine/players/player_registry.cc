#include "players/player_registry.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <sstream>
#include <utility>

#include "base/mutex.h"
#include "base/never_destroyed.h"

namespace NimboEngine {
namespace {

struct Entry {
  std::string id;
  std::shared_ptr<RemoteStream> stream;  // also identifies the entry
  AudiblePlayer audible;
  std::string url;
  // When it was requested to play, and when it became audible: ascending numbers.
  uint64_t playOrder = 0;
  std::optional<uint64_t> audibleOrder;
};

class Registry {
 public:
  // Never destroyed: a process may end while players and a mix run.
  static Registry& get() {
    static NeverDestroyed<Registry> registry;
    return *registry;
  }

  void add(Entry entry) {
    const MutexLock lock(mutex_);
    entries_.push_back(std::move(entry));
  }

  void remove(const RemoteStream* stream) {
    const MutexLock lock(mutex_);
    std::erase_if(entries_, [=](const Entry& entry) { return entry.stream.get() == stream; });
  }

  // Calls `change` with the entry, if it has not been withdrawn, and the next number.
  template <class Change>
  void change(const RemoteStream* stream, Change change) {
    const MutexLock lock(mutex_);
    const auto entry = std::ranges::find_if(
        entries_, [=](const Entry& each) { return each.stream.get() == stream; });
    if (entry != entries_.end()) change(*entry, ++order_);
  }

  // Returns the last one to play with that value.
  std::shared_ptr<RemoteStream> find(std::string Entry::*key, const std::string& value) const {
    const MutexLock lock(mutex_);
    const Entry* found = nullptr;
    for (const Entry& entry : entries_) {
      if (entry.*key != value) continue;
      if (!found || entry.playOrder > found->playOrder) found = &entry;
    }
    return found ? found->stream : nullptr;
  }

  std::vector<AudiblePlayer> audible() const {
    const MutexLock lock(mutex_);
    std::vector<const Entry*> entries;
    for (const Entry& entry : entries_) {
      if (entry.audibleOrder) entries.push_back(&entry);
    }
    std::ranges::sort(entries, {}, [](const Entry* entry) { return *entry->audibleOrder; });
    std::vector<AudiblePlayer> players;
    players.reserve(entries.size());
    for (const Entry* entry : entries) players.push_back(entry->audible);
    return players;
  }

 private:
  mutable Mutex mutex_;
  std::vector<Entry> entries_ NIMBO_GUARDED_BY(mutex_);
  uint64_t order_ NIMBO_GUARDED_BY(mutex_) = 0;
};

std::string idOf(const void* player) {
  std::ostringstream text;
  text << player;
  return text.str();
}

}  // namespace

RegisteredPlayer::RegisteredPlayer(LumoRtc::LumoLivePlayer* player)
    : stream_(std::make_shared<RemoteStream>()), meter_(std::make_shared<LevelMeter>()) {
  Registry::get().add({.id = idOf(player),
                       .stream = stream_,
                       .audible = {.player = player, .meter = meter_, .events = {}},
                       .url = "",
                       .playOrder = 0,
                       .audibleOrder = {}});
}

RegisteredPlayer::~RegisteredPlayer() {
  withdraw();
}

void RegisteredPlayer::withdraw() {
  Registry::get().remove(stream_.get());
}

void RegisteredPlayer::setUrl(const std::string& url) {
  Registry::get().change(stream_.get(), [&](Entry& entry, uint64_t order) {
    entry.url = url;
    entry.playOrder = order;
  });
}

void RegisteredPlayer::setAudible(VolumeEvents events) {
  Registry::get().change(stream_.get(), [&](Entry& entry, uint64_t order) {
    entry.audible.events = std::move(events);
    entry.audibleOrder = order;
  });
}

void RegisteredPlayer::setInaudible() {
  Registry::get().change(stream_.get(), [](Entry& entry, uint64_t) { entry.audibleOrder.reset(); });
}

std::shared_ptr<RemoteStream> findStreamById(const std::string& id) {
  return Registry::get().find(&Entry::id, id);
}

std::shared_ptr<RemoteStream> findStreamByUrl(const std::string& url) {
  return url.empty() ? nullptr : Registry::get().find(&Entry::url, url);
}

std::vector<AudiblePlayer> audiblePlayers() {
  return Registry::get().audible();
}

}  // namespace NimboEngine

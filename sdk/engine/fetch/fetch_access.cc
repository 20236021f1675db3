#include "fetch/fetch_access.h"

#include <map>
#include <utility>

#include "base/never_destroyed.h"

namespace NimboEngine {

struct FetchAccess::Registry {
  Mutex mutex;
  uint64_t last NIMBO_GUARDED_BY(mutex) = 0;
  std::map<uint64_t, std::weak_ptr<FetchAccess>> players NIMBO_GUARDED_BY(mutex);

  // Threads of players may outlive main().
  static Registry& instance() {
    static NeverDestroyed<Registry> registry;
    return *registry;
  }
};

std::shared_ptr<FetchAccess> FetchAccess::open(const SourceSettings& settings,
                                               OnFailure onFailure) {
  Registry& registry = Registry::instance();
  const MutexLock lock(registry.mutex);
  const uint64_t player = ++registry.last;
  std::shared_ptr<FetchAccess> access(new FetchAccess(player, settings, std::move(onFailure)));
  registry.players.emplace(player, access);
  return access;
}

std::shared_ptr<FetchAccess> FetchAccess::find(uint64_t player) {
  Registry& registry = Registry::instance();
  const MutexLock lock(registry.mutex);
  const auto found = registry.players.find(player);
  return found == registry.players.end() ? nullptr : found->second.lock();
}

FetchAccess::FetchAccess(uint64_t player, const SourceSettings& settings, OnFailure onFailure)
    : player_(player), settings_(settings), onFailure_(std::move(onFailure)) {}

FetchAccess::~FetchAccess() {
  Registry& registry = Registry::instance();
  const MutexLock lock(registry.mutex);
  registry.players.erase(player_);
}

std::string FetchAccess::uriOf(const std::string& address) const {
  return FetchUri{player_, FetchKind::kStream, std::nullopt, address}.text();
}

void FetchAccess::report(FetchKind kind, const FetchFailure& failure) {
  {
    const MutexLock lock(mutex_);
    lastFailure_ = failure;
  }
  if (failure.isFinal || kind == FetchKind::kStream) onFailure_(failure);
}

std::optional<FetchFailure> FetchAccess::lastFailure() const {
  const MutexLock lock(mutex_);
  return lastFailure_;
}

}  // namespace NimboEngine

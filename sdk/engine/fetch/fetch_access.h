// State shared by the sources of one player: their settings, and the callback for failures. The
// sources are created deep inside GStreamer's demultiplexers and find it by the player's number in
// their address.
//
// Thread: any; onFailure is called on the threads of sources, several at once.
// Ownership: shared by the player and its sources.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/mutex.h"
#include "fetch/fetch_failure.h"
#include "fetch/fetch_uri.h"
#include "fetch/source_settings.h"

namespace NimboEngine {

class FetchAccess {
 public:
  using OnFailure = std::function<void(const FetchFailure&)>;

  // `onFailure` is called for every final failure, and for every failure of the address that the
  // application itself requested.
  static std::shared_ptr<FetchAccess> open(const SourceSettings& settings, OnFailure onFailure);

  // None if that player no longer exists.
  static std::shared_ptr<FetchAccess> find(uint64_t player);

  ~FetchAccess();
  FetchAccess(const FetchAccess&) = delete;
  FetchAccess& operator=(const FetchAccess&) = delete;

  // `address`: of the application. See FetchUri.
  std::string uriOf(const std::string& address) const;

  const SourceSettings& settings() const { return settings_; }

  void report(FetchKind kind, const FetchFailure& failure);
  std::optional<FetchFailure> lastFailure() const;

 private:
  struct Registry;

  FetchAccess(uint64_t player, const SourceSettings& settings, OnFailure onFailure);

  const uint64_t player_;
  const SourceSettings settings_;
  const OnFailure onFailure_;
  mutable Mutex mutex_;
  std::optional<FetchFailure> lastFailure_ NIMBO_GUARDED_BY(mutex_);
};

}  // namespace NimboEngine

// What the sources of one player share: what they may do, and whom they tell of failures. The
// sources are made in the depths of GStreamer's demultiplexers and find it by the player's number
// in their address.
//
// Thread: any; onFailure is called on the threads of sources, several at once.
// Ownership: shared by the player and its sources.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "fetch/fetch_failure.h"
#include "fetch/fetch_uri.h"
#include "fetch/source_settings.h"

namespace NimboEngine {

class FetchAccess {
 public:
  using OnFailure = std::function<void(const FetchFailure&)>;

  // `onFailure` is told of every final failure, and of every failure of what the application itself
  // asked for.
  static std::shared_ptr<FetchAccess> open(const SourceSettings& settings, OnFailure onFailure);

  // None when that player is gone.
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
  mutable std::mutex mutex_;
  std::optional<FetchFailure> lastFailure_;
};

}  // namespace NimboEngine

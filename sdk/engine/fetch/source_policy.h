// Decides what an address may name, by where the address itself came from.
//
// Thread: any; keeps no state.

#pragma once

#include <optional>
#include <string>

#include "fetch/address_reach.h"
#include "fetch/source_settings.h"

namespace NimboEngine {

enum class SourceScheme { kHttp, kHttps, kFile };

// Where an address came from: the server, or the local file, that named it.
struct Origin {
  SourceScheme scheme = SourceScheme::kHttp;
  Reach reach = Reach::kPublic;

  bool operator==(const Origin&) const = default;
};

// None: the application itself gave the address.
using MaybeOrigin = std::optional<Origin>;

class SourcePolicy {
 public:
  explicit SourcePolicy(const SourceSettings& settings) : settings_(settings) {}

  // Why `origin` may not name an address of that scheme; none when it may.
  std::optional<std::string> refuseScheme(const MaybeOrigin& origin, SourceScheme scheme) const;

  // Whether what `origin` named may be at an address of that reach.
  bool allowsReach(const MaybeOrigin& origin, Reach reach) const;

 private:
  const SourceSettings settings_;
};

}  // namespace NimboEngine

// Decides which addresses may be fetched, depending on where they came from.
//
// Thread: any; keeps no state.

#pragma once

#include <optional>

#include "base/result.h"
#include "fetch/address_reach.h"
#include "fetch/source_settings.h"

namespace NimboEngine {

enum class SourceScheme { kHttp, kHttps, kFile };

// The origin of an address: the server or local file that named it.
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

  // Fails unless `origin` may name an address of that scheme.
  Result<void> checkScheme(const MaybeOrigin& origin, SourceScheme scheme) const;

  // Returns whether a resource named by `origin` may be at an address of that reach.
  bool allowsReach(const MaybeOrigin& origin, Reach reach) const;

 private:
  const SourceSettings settings_;
};

}  // namespace NimboEngine

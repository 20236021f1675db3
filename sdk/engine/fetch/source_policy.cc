#include "fetch/source_policy.h"

namespace NimboEngine {

Result<void> SourcePolicy::checkScheme(const MaybeOrigin& origin, SourceScheme scheme) const {
  if (!origin) return {};
  const bool toFile = scheme == SourceScheme::kFile;
  if (origin->scheme == SourceScheme::kFile) {
    if (toFile) return {};
    return refused("a local playlist may name local files only");
  }
  if (toFile) return refused("a server may not name local files");
  if (origin->scheme == SourceScheme::kHttps && scheme == SourceScheme::kHttp &&
      !settings_.httpFromHttps) {
    return refused("an https server may not name an http address");
  }
  return {};
}

bool SourcePolicy::allowsReach(const MaybeOrigin& origin, Reach reach) const {
  if (reach == Reach::kPublic || !origin) return true;
  return origin->reach == Reach::kLocal || settings_.localFromPublic;
}

}  // namespace NimboEngine

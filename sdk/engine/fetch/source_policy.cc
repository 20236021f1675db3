#include "fetch/source_policy.h"

namespace NimboEngine {

std::optional<std::string> SourcePolicy::refuseScheme(const MaybeOrigin& origin,
                                                      SourceScheme scheme) const {
  if (!origin) return std::nullopt;
  const bool toFile = scheme == SourceScheme::kFile;
  if (origin->scheme == SourceScheme::kFile) {
    if (toFile) return std::nullopt;
    return "a local playlist may name local files only";
  }
  if (toFile) return "a server may not name local files";
  if (origin->scheme == SourceScheme::kHttps && scheme == SourceScheme::kHttp &&
      !settings_.httpFromHttps) {
    return "an https server may not name an http address";
  }
  return std::nullopt;
}

bool SourcePolicy::allowsReach(const MaybeOrigin& origin, Reach reach) const {
  if (reach == Reach::kPublic || !origin) return true;
  return origin->reach == Reach::kLocal || settings_.localFromPublic;
}

}  // namespace NimboEngine

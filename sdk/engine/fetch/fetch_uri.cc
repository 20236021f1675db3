#include "fetch/fetch_uri.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

namespace NimboEngine {
namespace {

struct KindName {
  FetchKind kind;
  std::string_view name;
};
constexpr KindName kKinds[] = {
    {FetchKind::kStream, "stream"}, {FetchKind::kPlaylist, "playlist"},
    {FetchKind::kMedia, "media"},   {FetchKind::kMap, "map"},
    {FetchKind::kKey, "key"},
};

struct OriginName {
  MaybeOrigin origin;
  std::string_view name;
};
constexpr OriginName kOrigins[] = {
    {std::nullopt, "application"},
    {Origin{SourceScheme::kHttp, Reach::kPublic}, "http-public"},
    {Origin{SourceScheme::kHttp, Reach::kLocal}, "http-local"},
    {Origin{SourceScheme::kHttps, Reach::kPublic}, "https-public"},
    {Origin{SourceScheme::kHttps, Reach::kLocal}, "https-local"},
    {Origin{SourceScheme::kFile, Reach::kLocal}, "file"},
};

// Removes and returns the part of `text` up to the next colon.
std::string_view takePart(std::string_view& text) {
  const auto colon = std::min(text.find(':'), text.size());
  const std::string_view part = text.substr(0, colon);
  text.remove_prefix(std::min(colon + 1, text.size()));
  return part;
}

}  // namespace

std::string FetchUri::text() const {
  const auto* kindName =
      std::ranges::find(kKinds, kind, [](const KindName& entry) { return entry.kind; });
  const auto* originName =
      std::ranges::find(kOrigins, origin, [](const OriginName& entry) { return entry.origin; });
  return fmt::format("{}:{}:{}:{}:{}", kFetchScheme, player, kindName->name, originName->name,
                     address);
}

std::optional<FetchUri> parseFetchUri(const std::string& text) {
  std::string_view rest = text;
  if (takePart(rest) != kFetchScheme) return std::nullopt;
  FetchUri uri;
  const std::string_view player = takePart(rest);
  const auto [end, error] =
      std::from_chars(player.data(), player.data() + player.size(), uri.player);
  if (error != std::errc() || end != player.data() + player.size()) return std::nullopt;
  const auto* kind =
      std::ranges::find(kKinds, takePart(rest), [](const KindName& entry) { return entry.name; });
  const auto* origin = std::ranges::find(kOrigins, takePart(rest),
                                         [](const OriginName& entry) { return entry.name; });
  if (kind == std::end(kKinds) || origin == std::end(kOrigins) || rest.empty()) {
    return std::nullopt;
  }
  uri.kind = kind->kind;
  uri.origin = origin->origin;
  uri.address = rest;
  return uri;
}

}  // namespace NimboEngine

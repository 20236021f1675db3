#include "fetch/body_guard.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace NimboEngine {
namespace {

constexpr std::size_t kMostKeyBytes = 4096;

std::string sizeText(std::size_t bytes) {
  return bytes % (1U << 20) == 0 ? fmt::format("{} MiB", bytes >> 20)
                                 : fmt::format("{} KiB", bytes >> 10);
}

FetchFailure tooLarge(std::string_view what, std::size_t limit) {
  return refusedFetch(fmt::format("{} than {}, the limit", what, sizeText(limit)));
}

}  // namespace

BodyGuard::BodyGuard(FetchKind kind, const SourceSettings& settings, NameAddress nameAddress)
    : kind_(kind),
      settings_(settings),
      nameAddress_(std::move(nameAddress)),
      tag_(settings.tagBytes) {}

std::optional<FetchFailure> BodyGuard::feed(std::vector<uint8_t>& bytes) {
  if (!isKnown_) {
    held_.insert(held_.end(), bytes.begin(), bytes.end());
    bytes.clear();
    const auto playlist = beginsPlaylist(held_);
    if (!playlist) return std::nullopt;
    isKnown_ = true;
    isPlaylist_ = *playlist;
    if (!isPlaylist_) bytes = std::exchange(held_, {});
  } else if (isPlaylist_) {
    held_.insert(held_.end(), bytes.begin(), bytes.end());
    bytes.clear();
  }
  if (!isPlaylist_) return pass(bytes);
  if (held_.size() > settings_.playlistBytes) {
    return tooLarge("the playlist is larger", settings_.playlistBytes);
  }
  return std::nullopt;
}

std::optional<FetchFailure> BodyGuard::pass(std::vector<uint8_t>& bytes) {
  passed_ += bytes.size();
  switch (kind_) {
    case FetchKind::kPlaylist:
      return FetchFailure{LumoRtc::kLumoLiveErrorUndecodable,
                          "what a playlist names as another playlist is none", false};
    case FetchKind::kKey:
      if (passed_ > kMostKeyBytes) return tooLarge("a key is larger", kMostKeyBytes);
      return std::nullopt;
    case FetchKind::kMap:
      if (passed_ > settings_.playlistBytes) {
        return tooLarge("the header of segments is larger", settings_.playlistBytes);
      }
      return std::nullopt;
    case FetchKind::kStream:
    case FetchKind::kMedia:
      if (!tag_.feed(bytes)) {
        return tooLarge("the tags in front of the media are larger", settings_.tagBytes);
      }
      return std::nullopt;
  }
  return std::nullopt;
}

std::optional<FetchFailure> BodyGuard::finish(std::vector<uint8_t>& rest) {
  rest = std::exchange(held_, {});
  isKnown_ = true;
  if (!isPlaylist_) return rest.empty() ? std::nullopt : pass(rest);
  const auto rewritten = rewritePlaylist({reinterpret_cast<const char*>(rest.data()), rest.size()},
                                         settings_.playlistBytes * kPlaylistGrowth, nameAddress_);
  rest.clear();
  if (!rewritten) return refusedFetch(rewritten.error().text);
  rest.assign(rewritten->begin(), rewritten->end());
  return std::nullopt;
}

}  // namespace NimboEngine

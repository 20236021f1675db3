#include "rtmp/status_code.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace NimboEngine {
namespace {

struct Meaning {
  std::string_view code;
  ConnectionError error;
};

constexpr Meaning kPublish[] = {
    {"NetStream.Publish.BadName", ConnectionError::kNameInUse},
    {"NetStream.Publish.Denied", ConnectionError::kPublishDenied},
    {"NetStream.Publish.Unauthorized", ConnectionError::kPublishDenied},
    {"NetStream.Authenticate.UsherToken", ConnectionError::kPublishDenied},
    {"NetStream.Publish.Rejected", ConnectionError::kPublishRejected},
    {"NetStream.Publish.Failed", ConnectionError::kPublishRejected},
};

constexpr Meaning kPlay[] = {
    {"NetStream.Play.StreamNotFound", ConnectionError::kStreamNotFound},
    {"NetStream.Play.FileNotFound", ConnectionError::kStreamNotFound},
    {"NetStream.Play.UnpublishNotify", ConnectionError::kStreamEnded},
    {"NetStream.Play.Stop", ConnectionError::kStreamEnded},
    {"NetStream.Play.Complete", ConnectionError::kStreamEnded},
    {"NetStream.Play.Failed", ConnectionError::kPlayDenied},
    {"NetStream.Play.Denied", ConnectionError::kPlayDenied},
    {"NetStream.Play.Unauthorized", ConnectionError::kPlayDenied},
};

std::optional<ConnectionError> find(std::span<const Meaning> meanings, std::string_view code) {
  const auto found = std::ranges::find(meanings, code, &Meaning::code);
  if (found == meanings.end()) return std::nullopt;
  return found->error;
}

}  // namespace

std::optional<ConnectionError> publishErrorOf(std::string_view code) {
  return find(kPublish, code);
}

std::optional<ConnectionError> playErrorOf(std::string_view code) {
  return find(kPlay, code);
}

bool asksForAuthentication(std::string_view description) {
  constexpr std::string_view kSigns[] = {"authmod=", "needauth", "need auth"};
  return std::ranges::any_of(
      kSigns, [&](std::string_view sign) { return description.find(sign) != description.npos; });
}

}  // namespace NimboEngine

#include "rtmp/status_code.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace NimboEngine {
namespace {

struct Meaning {
  std::string_view code;
  RtmpError error;
};

constexpr Meaning kPublish[] = {
    {"NetStream.Publish.BadName", RtmpError::kNameInUse},
    {"NetStream.Publish.Denied", RtmpError::kPublishDenied},
    {"NetStream.Publish.Unauthorized", RtmpError::kPublishDenied},
    {"NetStream.Authenticate.UsherToken", RtmpError::kPublishDenied},
    {"NetStream.Publish.Rejected", RtmpError::kPublishRejected},
    {"NetStream.Publish.Failed", RtmpError::kPublishRejected},
};

constexpr Meaning kPlay[] = {
    {"NetStream.Play.StreamNotFound", RtmpError::kStreamNotFound},
    {"NetStream.Play.FileNotFound", RtmpError::kStreamNotFound},
    {"NetStream.Play.UnpublishNotify", RtmpError::kStreamEnded},
    {"NetStream.Play.Stop", RtmpError::kStreamEnded},
    {"NetStream.Play.Complete", RtmpError::kStreamEnded},
    {"NetStream.Play.Failed", RtmpError::kPlayDenied},
    {"NetStream.Play.Denied", RtmpError::kPlayDenied},
    {"NetStream.Play.Unauthorized", RtmpError::kPlayDenied},
};

std::optional<RtmpError> find(std::span<const Meaning> meanings, std::string_view code) {
  const auto found = std::ranges::find(meanings, code, &Meaning::code);
  if (found == meanings.end()) return std::nullopt;
  return found->error;
}

}  // namespace

std::optional<RtmpError> publishErrorOf(std::string_view code) {
  return find(kPublish, code);
}

std::optional<RtmpError> playErrorOf(std::string_view code) {
  return find(kPlay, code);
}

bool asksForAuthentication(std::string_view description) {
  constexpr std::string_view kSigns[] = {"authmod=", "needauth", "need auth"};
  return std::ranges::any_of(
      kSigns, [&](std::string_view sign) { return description.find(sign) != description.npos; });
}

}  // namespace NimboEngine

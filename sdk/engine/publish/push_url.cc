#include "publish/push_url.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "base/redaction.h"
#include "publish/protocol.h"
#include "rtmp/rtmp_url.h"

namespace NimboEngine {
namespace {

constexpr std::string_view kExpiryParameters[] = {"expires", "expire", "exp", "deadline"};
// In seconds this would be the year 5138.
constexpr int64_t kFirstMilliseconds = 100'000'000'000;

// `parameter` is "name=value".
std::optional<PushUrl::Time> expiryIn(std::string_view parameter) {
  const auto equals = parameter.find('=');
  if (equals == parameter.npos) return std::nullopt;
  const std::string_view name = parameter.substr(0, equals);
  const std::string_view value = parameter.substr(equals + 1);
  if (std::ranges::find(kExpiryParameters, name) == std::end(kExpiryParameters)) {
    return std::nullopt;
  }
  int64_t number = 0;
  const char* end = value.data() + value.size();
  const auto [read, error] = std::from_chars(value.data(), end, number);
  if (error != std::errc() || read != end || number <= 0) return std::nullopt;
  const int64_t milliseconds = number < kFirstMilliseconds ? number * 1000 : number;
  if (milliseconds > kFirstMilliseconds * 1000) return std::nullopt;
  return PushUrl::Time(std::chrono::milliseconds(milliseconds));
}

std::optional<PushUrl::Time> expiryOf(std::string_view query) {
  while (!query.empty()) {
    const auto end = std::min(query.find('&'), query.size());
    if (const auto expiry = expiryIn(query.substr(0, end))) return expiry;
    query.remove_prefix(std::min(end + 1, query.size()));
  }
  return std::nullopt;
}

std::string_view queryOf(std::string_view name) {
  const auto mark = name.find('?');
  return mark == name.npos ? std::string_view() : name.substr(mark + 1);
}

}  // namespace

std::string PushUrl::forLog() const {
  return fmt::format("{}:{}/{}/…", host, port, redactPath(application));
}

Result<PushUrl> parsePushUrl(const char* text) {
  if (!text || !*text) return refused("the URL is empty");
  const Result<const PublishProtocol*> protocol = findPublishProtocol(text);
  if (!protocol) return tl::unexpected(protocol.error());
  Result<PushUrl> url = (*protocol)->parse(text);
  if (!url) return url;
  url->text = text;
  url->protocol = *protocol;
  return url;
}

Result<PushUrl> parseRtmpPushUrl(const std::string& text) {
  const auto target = parseRtmpUrl(text);
  if (!target) return tl::unexpected(target.error());
  PushUrl url;
  url.host = target->host;
  url.port = target->port;
  url.application = target->application.substr(0, target->application.find('?'));
  url.expiry = expiryOf(queryOf(target->stream));
  if (!url.expiry) url.expiry = expiryOf(queryOf(target->application));
  return url;
}

}  // namespace NimboEngine

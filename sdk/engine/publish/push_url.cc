#include "publish/push_url.h"

#include <fmt/format.h>
#include <glib.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string_view>

namespace NimboEngine {
namespace {

constexpr int kRtmpPort = 1935;
constexpr int kRtmpsPort = 443;

constexpr std::string_view kExpiryParameters[] = {"expires", "expire", "exp", "deadline"};
// As seconds this would be the year 5138.
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

struct UriRelease {
  void operator()(GUri* uri) const { g_uri_unref(uri); }
};

}  // namespace

std::string PushUrl::forLog() const {
  return fmt::format("{}:{}/{}/…", host, port, application);
}

std::optional<PushUrl> parsePushUrl(const char* text, std::string& reason) {
  if (!text || !*text) {
    reason = "the URL is empty";
    return std::nullopt;
  }
  GError* failure = nullptr;
  // ENCODED: parts keep their percent signs, so that nothing is refused for an odd stream key.
  const std::unique_ptr<GUri, UriRelease> uri(g_uri_parse(
      text, static_cast<GUriFlags>(G_URI_FLAGS_PARSE_RELAXED | G_URI_FLAGS_ENCODED), &failure));
  if (!uri) {
    const std::unique_ptr<GError, decltype(&g_error_free)> owned(failure, &g_error_free);
    reason = owned->message;
    return std::nullopt;
  }
  const std::string scheme = g_uri_get_scheme(uri.get());
  if (scheme != "rtmp" && scheme != "rtmps") {
    reason = fmt::format("the scheme is {}, not rtmp or rtmps", scheme);
    return std::nullopt;
  }
  PushUrl url;
  url.text = text;
  if (const char* host = g_uri_get_host(uri.get())) url.host = host;
  if (url.host.empty()) {
    reason = "the host is missing";
    return std::nullopt;
  }
  const int port = g_uri_get_port(uri.get());
  url.port = port > 0 ? port : scheme == "rtmp" ? kRtmpPort : kRtmpsPort;

  if (const char* query = g_uri_get_query(uri.get())) url.expiry = expiryOf(query);

  const std::string path = g_uri_get_path(uri.get());
  const std::size_t lastSlash = path.rfind('/');
  if (lastSlash == std::string::npos || lastSlash < 2) {
    reason = "the application name is missing: rtmp://host/application/stream";
    return std::nullopt;
  }
  url.application = path.substr(1, lastSlash - 1);
  if (lastSlash + 1 == path.size()) {
    reason = "the stream name is missing: rtmp://host/application/stream";
    return std::nullopt;
  }
  return url;
}

}  // namespace NimboEngine

#include "fetch/http_url.h"

#include <fmt/format.h>
#include <glib.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "base/glib_ptr.h"

namespace NimboEngine {
namespace {

constexpr int kHttpPort = 80;
constexpr int kHttpsPort = 443;
constexpr auto kFlags = static_cast<GUriFlags>(G_URI_FLAGS_PARSE_RELAXED | G_URI_FLAGS_ENCODED);

struct UriRelease {
  void operator()(GUri* uri) const { g_uri_unref(uri); }
};
using Uri = std::unique_ptr<GUri, UriRelease>;

bool isControl(char letter) {
  return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f;
}

// Escapes only what a request line needs escaped: existing escapes stay unchanged.
std::string escaped(std::string_view text) {
  std::string result;
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    if (byte <= ' ' || byte >= 0x7f || letter == '"' || letter == '<' || letter == '>') {
      result += fmt::format("%{:02X}", byte);
    } else {
      result += letter;
    }
  }
  return result;
}

std::string textOf(const char* text) {
  return text ? text : "";
}

std::string unescaped(const std::string& text) {
  const GlibPtr<gchar> plain(g_uri_unescape_string(text.c_str(), nullptr));
  return plain ? plain.get() : text;
}

// Rejects characters that could end the Host header's line, or be parsed as another part of an
// address.
bool isHostName(std::string_view host) {
  return !host.empty() && std::all_of(host.begin(), host.end(), [](char letter) {
    return g_ascii_isalnum(letter) || letter == '.' || letter == '-' || letter == '_' ||
           letter == ':' || letter == '%';
  });
}

bool setHost(HttpUrl& url, GUri* uri) {
  const char* host = g_uri_get_host(uri);
  const GlibPtr<gchar> ascii(host ? g_hostname_to_ascii(host) : nullptr);
  if (!ascii || !isHostName(ascii.get())) return false;
  url.host = ascii.get();
  return true;
}

}  // namespace

std::string HttpUrl::authority() const {
  const bool isIpv6 = host.find(':') != host.npos;
  std::string text = isIpv6 ? fmt::format("[{}]", host) : host;
  if (port != (isEncrypted() ? kHttpsPort : kHttpPort)) text += fmt::format(":{}", port);
  return text;
}

std::string HttpUrl::authorization() const {
  if (userInfo.empty()) return {};
  std::string pair = unescaped(userInfo);
  if (userInfo.find(':') == userInfo.npos) pair += ':';
  const GlibPtr<gchar> encoded(
      g_base64_encode(reinterpret_cast<const guchar*>(pair.data()), pair.size()));
  return fmt::format("Basic {}", encoded.get());
}

std::string HttpUrl::text() const {
  return fmt::format("{}://{}{}{}{}", isEncrypted() ? "https" : "http", userInfo,
                     userInfo.empty() ? "" : "@", authority(), target);
}

Result<HttpUrl> parseHttpUrl(const std::string& text) {
  if (std::any_of(text.begin(), text.end(), isControl))
    return refused("an address has control characters");
  const Uri uri(g_uri_parse(text.c_str(), kFlags, nullptr));
  if (!uri) return refused("an address cannot be read");
  const std::string_view scheme = g_uri_get_scheme(uri.get());
  if (scheme != "http" && scheme != "https") {
    // A scheme is made of letters, digits and three signs: it is safe to show.
    return refused("an address has the scheme {}, not http or https", scheme);
  }
  HttpUrl url;
  url.scheme = scheme == "https" ? SourceScheme::kHttps : SourceScheme::kHttp;
  if (!setHost(url, uri.get())) return refused("an address has no host");
  url.port = g_uri_get_port(uri.get());
  if (url.port <= 0) url.port = url.isEncrypted() ? kHttpsPort : kHttpPort;
  const std::string path = textOf(g_uri_get_path(uri.get()));
  url.target = path.starts_with('/') ? escaped(path) : "/" + escaped(path);
  if (const char* query = g_uri_get_query(uri.get())) url.target += "?" + escaped(query);
  url.userInfo = escaped(textOf(g_uri_get_userinfo(uri.get())));
  return url;
}

Result<HttpUrl> resolveHttpUrl(const std::string& base, const std::string& reference) {
  const GlibPtr<gchar> absolute(
      g_uri_resolve_relative(base.c_str(), reference.c_str(), kFlags, nullptr));
  if (!absolute) return refused("an address cannot be read");
  return parseHttpUrl(absolute.get());
}

}  // namespace NimboEngine

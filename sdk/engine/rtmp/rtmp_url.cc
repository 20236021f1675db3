#include "rtmp/rtmp_url.h"

#include <fmt/format.h>
#include <glib.h>

#include <memory>
#include <string_view>

namespace NimboEngine {
namespace {

constexpr int kRtmpPort = 1935;
constexpr int kRtmpsPort = 443;

struct UriRelease {
  void operator()(GUri* uri) const { g_uri_unref(uri); }
};

using Uri = std::unique_ptr<GUri, UriRelease>;

// Returns where a file name begins in the path, npos if there is none.
std::size_t fileNameIn(std::string_view path) {
  for (const std::string_view kind : {"/mp4:", "/flv:", "/mp3:"}) {
    const std::size_t found = path.find(kind);
    if (found != path.npos) return found;
  }
  return path.npos;
}

// `path` begins with a slash. The query may hold slashes of its own.
void splitPath(RtmpUrl& url, const std::string& path, const std::string& query) {
  std::size_t slash = fileNameIn(path);
  if (slash == path.npos) slash = path.rfind('/');
  if (slash == 0 && path.size() > 1 && query.rfind('/') != query.npos) {
    const std::size_t end = query.rfind('/');
    url.application = path.substr(1) + query.substr(0, end);
    url.stream = query.substr(end + 1);
  } else if (slash != path.npos && slash > 0) {
    url.application = path.substr(1, slash - 1);
    url.stream = path.substr(slash + 1) + query;
  }
}

}  // namespace

Result<RtmpUrl> parseRtmpUrl(const std::string& address) {
  // ENCODED: parts keep their percent signs, which belong to the server.
  const Uri uri(g_uri_parse(address.c_str(),
                            static_cast<GUriFlags>(G_URI_FLAGS_PARSE_RELAXED | G_URI_FLAGS_ENCODED),
                            nullptr));
  // Not GLib's own words: they quote what they take for a port, which may be a password.
  if (!uri) return refused("the URL cannot be read");
  const std::string scheme = g_uri_get_scheme(uri.get());
  if (scheme != "rtmp" && scheme != "rtmps") {
    return refused("the scheme is {}, not rtmp or rtmps", scheme);
  }
  RtmpUrl url;
  url.tls = scheme == "rtmps";
  if (const char* host = g_uri_get_host(uri.get())) url.host = host;
  if (url.host.empty()) {
    return refused("the host is missing");
  }
  const int usualPort = url.tls ? kRtmpsPort : kRtmpPort;
  url.port = g_uri_get_port(uri.get()) > 0 ? g_uri_get_port(uri.get()) : usualPort;
  std::string query;
  if (const char* text = g_uri_get_query(uri.get())) query = fmt::format("?{}", text);
  // RTMP has no fragments: "#" is part of a stream key.
  if (const char* text = g_uri_get_fragment(uri.get())) query += fmt::format("#{}", text);
  splitPath(url, g_uri_get_path(uri.get()), query);
  if (url.application.empty()) {
    return refused("the application name is missing: rtmp://host/application/stream");
  }
  if (url.stream.empty() || url.stream.front() == '?') {
    return refused("the stream name is missing: rtmp://host/application/stream");
  }
  const bool needsBrackets = url.host.find(':') != url.host.npos;
  url.tcUrl = fmt::format("{}://{}{}{}", scheme, needsBrackets ? "[" : "", url.host,
                          needsBrackets ? "]" : "");
  if (url.port != usualPort) url.tcUrl += fmt::format(":{}", url.port);
  url.tcUrl += "/" + url.application;
  return url;
}

}  // namespace NimboEngine

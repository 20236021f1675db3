#include "play/play_url.h"

#include <fmt/format.h>
#include <glib.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string_view>

#include "base/redaction.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {
namespace {

struct UriRelease {
  void operator()(GUri* uri) const { g_uri_unref(uri); }
};

struct Scheme {
  const char* name;
  PlayProtocol protocol;
  int port;  // 0: must be given
};

constexpr Scheme kSchemes[] = {
    {"rtmp", PlayProtocol::kRtmp, 1935}, {"rtmps", PlayProtocol::kRtmp, 443},
    {"http", PlayProtocol::kHttp, 80},   {"https", PlayProtocol::kHttp, 443},
    {"rtsp", PlayProtocol::kRtsp, 554},  {"srt", PlayProtocol::kSrt, 0},
    {"file", PlayProtocol::kFile, 0},
};

void setPath(PlayUrl& url, const std::string& path) {
  const std::size_t slash = path.rfind('/');
  url.stream = slash == std::string::npos ? path : path.substr(slash + 1);
  url.channel = slash == std::string::npos ? "" : path.substr(0, slash);
  if (url.channel.starts_with('/') && url.protocol != PlayProtocol::kFile) url.channel.erase(0, 1);
}

PlayUrl fileAt(const std::string& path) {
  PlayUrl url;
  url.text = path;
  setPath(url, path);
  return url;
}

Result<PlayUrl> parseFileUri(const char* text) {
  GError* failure = nullptr;
  gchar* host = nullptr;
  const GstPtr<gchar> path(g_filename_from_uri(text, &host, &failure));
  const GstPtr<gchar> ownedHost(host);
  if (!path) return refused("{}", GstPtr<GError>(failure)->message);
  if (host && std::string_view(host) != "localhost") {
    return refused("the file is on another computer, {}", host);
  }
  return fileAt(path.get());
}

// Returns whether a query has a parameter "mode" with any other value than "caller": GStreamer's
// source opens a listening socket for "listener" and "rendezvous". Names and values may be escaped.
// Not by GstUri, which needs GStreamer to be initialised: addresses are checked before that.
bool asksToListen(const char* query) {
  std::string_view rest = query ? query : "";
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('&'), rest.size());
    const std::string parameter(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    const std::size_t equals = std::min(parameter.find('='), parameter.size());
    const auto plain = [](const std::string& text) {
      return GstPtr<gchar>(g_uri_unescape_string(text.c_str(), nullptr));
    };
    const auto name = plain(parameter.substr(0, equals));
    if (!name) return true;
    if (std::string_view(name.get()) != "mode" || equals == parameter.size()) continue;
    const auto value = plain(parameter.substr(equals + 1));
    if (!value || std::string_view(value.get()) != "caller") return true;
  }
  return false;
}

// RTMP addresses have their own syntax: parameters may be in the middle.
Result<PlayUrl> parseRtmp(const char* text) {
  const auto target = parseRtmpUrl(text);
  if (!target) return tl::unexpected(target.error());
  const auto withoutQuery = [](const std::string& part) { return part.substr(0, part.find('?')); };
  PlayUrl url;
  url.text = text;
  url.protocol = PlayProtocol::kRtmp;
  url.host = target->host;
  url.port = target->port;
  url.channel = withoutQuery(target->application);
  url.stream = withoutQuery(target->stream);
  url.rtmp = *target;
  return url;
}

}  // namespace

std::string PlayUrl::forLog() const {
  if (protocol == PlayProtocol::kFile) return text;
  return fmt::format("{}:{}/{}/…", host, port, redactPath(channel));
}

Result<PlayUrl> parsePlayUrl(const char* text, bool srtListener) {
  if (!text || !*text) return refused("the URL is empty");
  if (*text == '/') return fileAt(text);
  // ENCODED: components keep their percent encoding, so that no URL is refused for an odd stream
  // name.
  const std::unique_ptr<GUri, UriRelease> uri(g_uri_parse(
      text, static_cast<GUriFlags>(G_URI_FLAGS_PARSE_RELAXED | G_URI_FLAGS_ENCODED), nullptr));
  // Not GLib's own text, which repeats the address.
  if (!uri) return refused("the URL cannot be read");
  const std::string name = g_uri_get_scheme(uri.get());
  const auto* scheme = std::find_if(std::begin(kSchemes), std::end(kSchemes),
                                    [&](const Scheme& known) { return name == known.name; });
  if (scheme == std::end(kSchemes)) {
    return refused("the scheme is {}, not one that can be played", name);
  }
  if (scheme->protocol == PlayProtocol::kFile) return parseFileUri(text);
  if (scheme->protocol == PlayProtocol::kRtmp) return parseRtmp(text);
  PlayUrl url;
  url.text = text;
  url.protocol = scheme->protocol;
  if (const char* host = g_uri_get_host(uri.get())) url.host = host;
  url.port = std::max(g_uri_get_port(uri.get()), 0);
  if (url.port == 0) url.port = scheme->port;
  setPath(url, g_uri_get_path(uri.get()));
  if (url.host.empty()) return refused("the host is missing");
  if (url.port == 0) return refused("the port is missing");
  if (scheme->protocol == PlayProtocol::kSrt && !srtListener &&
      asksToListen(g_uri_get_query(uri.get()))) {
    return refused("an srt URL may ask for the mode caller only");
  }
  return url;
}

}  // namespace NimboEngine

#include "publish/protocol.h"

#include <fmt/format.h>
#include <glib.h>

#include <utility>

#include "publish/flv_tag.h"
#include "publish/rtmp_connection.h"

namespace NimboEngine {
namespace {

template <class Implementation>
std::unique_ptr<Connection> connect(EngineThread& engine, const PushUrl& url,
                                    Connection::Events events) {
  return std::make_unique<Implementation>(engine, url, std::move(events));
}

constexpr PublishProtocol kProtocols[] = {
    {"rtmp", parseRtmpPushUrl, kFlvMuxer, connect<RtmpConnection>},
    {"rtmps", parseRtmpPushUrl, kFlvMuxer, connect<RtmpConnection>},
};

// "rtmp or rtmps".
std::string knownSchemes() {
  std::string text;
  for (const PublishProtocol& protocol : kProtocols) {
    if (!text.empty()) text += &protocol == std::end(kProtocols) - 1 ? " or " : ", ";
    text += protocol.scheme;
  }
  return text;
}

}  // namespace

Result<const PublishProtocol*> findPublishProtocol(const std::string& url) {
  const char* scheme = g_uri_peek_scheme(url.c_str());
  if (!scheme) return refused("the URL cannot be read");
  for (const PublishProtocol& protocol : kProtocols) {
    if (protocol.scheme == scheme) return &protocol;
  }
  return refused("the scheme is {}, not {}", scheme, knownSchemes());
}

}  // namespace NimboEngine

#include "publish/connection.h"

#include <utility>

#include "publish/rtmp_connection.h"

namespace NimboEngine {

// RTMP and RTMPS are all that parsePushUrl() lets through.
std::unique_ptr<Connection> makeConnection(EngineThread& engine, const PushUrl& url,
                                           Connection::Events events) {
  return std::make_unique<RtmpConnection>(engine, url, std::move(events));
}

}  // namespace NimboEngine

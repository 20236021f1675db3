#include "publish/connection.h"

#include <utility>

#include "publish/rtmp_connection.h"

namespace NimboEngine {

// parsePushUrl() accepts only RTMP and RTMPS.
std::unique_ptr<Connection> makeConnection(EngineThread& engine, const PushUrl& url,
                                           Connection::Events events) {
  return std::make_unique<RtmpConnection>(engine, url, std::move(events));
}

}  // namespace NimboEngine

// The protocols for publishing, by URL scheme: how to parse an address, which muxer to use and how
// to connect. To add a protocol, add a row to the table in protocol.cc.
//
// Thread: any; for connections see connection.h.

#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"
#include "publish/connection.h"
#include "publish/muxer.h"
#include "publish/push_url.h"

namespace NimboEngine {

struct PublishProtocol {
  std::string_view scheme;  // in lower case

  // Parses `text` into everything of the URL but `text` and `protocol`.
  Result<PushUrl> (*parse)(const std::string& text);

  const Muxer& muxer;

  std::unique_ptr<Connection> (*connect)(EngineThread& engine, const PushUrl& url,
                                         Connection::Events events);
};

// Fails for a URL without a scheme, or with an unknown one.
Result<const PublishProtocol*> findPublishProtocol(const std::string& url);

}  // namespace NimboEngine

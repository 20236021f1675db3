// The protocols for publishing, by URL scheme: how to parse an address, which muxer to use and how
// to connect. To add a protocol, add a row to the table in protocol.cc.
//
// Thread: any; for connections see connection.h.

#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "publish/connection.h"
#include "publish/muxer.h"
#include "publish/push_url.h"

namespace NimboEngine {

struct PublishProtocol {
  std::string_view scheme;  // in lower case

  // Parses the text in `url` into its other fields; returns false with `error`.
  bool (*parse)(PushUrl& url, std::string& error);

  const Muxer& muxer;

  std::unique_ptr<Connection> (*connect)(EngineThread& engine, const PushUrl& url,
                                         Connection::Events events);
};

// Returns null with `error` for a URL without a scheme, or with an unknown one.
const PublishProtocol* findPublishProtocol(const std::string& url, std::string& error);

}  // namespace NimboEngine

// parsePlayUrl: the URL of a playback.

#include "play/play_url.h"

#include "fuzz.h"

using NimboEngine::parsePlayUrl;
using NimboEngine::PlayProtocol;
using NimboEngine::test::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string text = NimboEngine::test::textOf(data, size);
  const auto url = parsePlayUrl(text.c_str());
  if (!url) {
    require(!url.error().text.empty(), "a refusal has an error");
    return 0;
  }
  require(url->stream.find('/') == std::string::npos, "the stream is the last part of the path");
  if (url->protocol == PlayProtocol::kFile) {
    require(url->text.starts_with('/'), "a file is an absolute path");
    require(url->host.empty() && url->port == 0, "a file is on no server");
  } else {
    require(url->text == text, "the text is kept");
    require(!url->host.empty(), "there is a host");
    require(url->port > 0 && url->port <= 65535, "the port is valid");
    require(url->forLog().ends_with("/…"), "the log does not show the stream");
  }
  return 0;
}

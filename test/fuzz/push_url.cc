// parsePushUrl: the URL of a push.

#include "publish/push_url.h"

#include "fuzz.h"

using NimboEngine::parsePushUrl;
using NimboEngine::test::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string text = NimboEngine::test::textOf(data, size);
  const auto url = parsePushUrl(text.c_str());
  if (!url) {
    require(!url.error().text.empty(), "a refusal has an error");
    return 0;
  }
  require(url->text == text, "the text is kept");
  require(!url->host.empty() && !url->application.empty(), "host and application are there");
  require(url->port > 0 && url->port <= 65535, "the port is valid");
  require(!url->expiry || url->expiry->time_since_epoch().count() > 0, "the expiry is a time");
  require(url->forLog().ends_with("/…"), "the log does not show the stream");
  return 0;
}

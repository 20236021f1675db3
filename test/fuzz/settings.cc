// parseSettings: the JSON text of an application.

#include "api/settings.h"

#include "fuzz.h"

using NimboEngine::parseSettings;
using NimboEngine::test::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using std::chrono::milliseconds;
  const std::string text = NimboEngine::test::textOf(data, size);
  const auto settings = parseSettings(text.c_str());
  if (!settings) {
    require(!settings.error().text.empty(), "a refusal has an error");
    return 0;
  }
  const auto& [reconnect, sendTimeout] = settings->network;
  require(reconnect.maxAttempts >= 0 && reconnect.maxAttempts <= 1000, "attempts are in range");
  for (const milliseconds delay : {reconnect.firstDelay, reconnect.maxDelay}) {
    require(delay >= milliseconds(0) && delay <= milliseconds(600'000), "delays are in range");
  }
  require(sendTimeout >= milliseconds(500) && sendTimeout <= milliseconds(5000),
          "the time-out is in range");
  return 0;
}

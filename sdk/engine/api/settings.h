// The engine's settings: the JSON object that an application hands over when it creates a pusher or
// a player. docs/sdk.md, "Settings", has the keys, their ranges and what they mean.
//
// Thread: any.
// Failure: see parseSettings.

#pragma once

#include <optional>
#include <string>

#include "play/latency_settings.h"
#include "publish/network_settings.h"

namespace NimboEngine {

struct Settings {
  std::string camera;
  std::string microphone;
  NetworkSettings network;
  LatencySettings latency;
  std::string trustedCertificates;
};

// Without a value, `problem` says what is wrong and names the key. A null text counts as empty.
std::optional<Settings> parseSettings(const char* text, std::string& problem);

}  // namespace NimboEngine

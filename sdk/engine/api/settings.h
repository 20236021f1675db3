// The engine's settings: the JSON object that an application hands over when it creates a pusher or
// a player. docs/sdk.md, "Settings", has the keys, their ranges and what they mean.
//
// Thread: any.
// Failure: see parseSettings.

#pragma once

#include <optional>
#include <string>

#include "play/play_settings.h"
#include "publish/network_settings.h"

namespace NimboEngine {

struct Settings {
  std::string camera;
  std::string microphone;
  NetworkSettings network;
  PlaySettings play;
  std::string trustedCertificates;
};

// Without a value, `error` says what is wrong and names the key. A null text counts as empty.
std::optional<Settings> parseSettings(const char* text, std::string& error);

// Puts into effect what holds for the whole process: TLS trust. False when it cannot be, and then
// nothing changes. Starts GStreamer where it is needed for that, which may take 0.15 s.
bool applySettings(const Settings& settings, std::string& error);

}  // namespace NimboEngine

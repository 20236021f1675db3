// The engine's settings: the JSON object that an application passes when it creates a pusher or a
// player. docs/sdk.md, "Settings", documents the keys, their ranges and their meaning.
//
// Thread: any.
// Failure: see parseSettings.

#pragma once

#include <string>

#include "base/result.h"
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

// An error names the key. A null text counts as empty.
Result<Settings> parseSettings(const char* text);

// Applies the settings of the whole process: TLS trust. A failure changes nothing. Starts GStreamer
// if that needs it, which may take 0.15 s.
Result<void> applySettings(const Settings& settings);

}  // namespace NimboEngine

// The engine's settings: the JSON object that an application passes when it creates a pusher or a
// player. docs/sdk.md, "Settings", documents the keys, their ranges and their meaning.
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

// Without a value, `error` describes the defect and names the key. A null text counts as empty.
std::optional<Settings> parseSettings(const char* text, std::string& error);

// Applies the settings of the whole process: TLS trust. Returns false if they cannot be applied;
// then nothing changes. Starts GStreamer if that needs it, which may take 0.15 s.
bool applySettings(const Settings& settings, std::string& error);

}  // namespace NimboEngine

// The engine's settings: the JSON object that an application hands over when it creates a pusher.
//
//   key           type    default  meaning
//   "camera"      string  ""       "": the first camera, else the test pattern; "test": the test
//                                  pattern; "file:<path>": a video file, looped; or a camera's
//                                  identifier
//   "microphone"  string  ""       "": the sound of a file camera, else the default microphone,
//                                  else the test tone; "test": the test tone; "file": the file
//                                  camera's sound; "default": the default microphone; or a
//                                  microphone's identifier
//   "reconnect"   object           what is done when the connection to the server breaks:
//     "maxAttempts"   number  20     attempts to connect again, 0 to 1000; 0: the push ends
//     "firstDelayMs"  number  500    before the first attempt, 0 to 600000; doubled each time ...
//     "maxDelayMs"    number  10000  ... up to this, 0 to 600000
//   "sendTimeoutMs" number  4000   after this time without progress "onSendDataTimeout" comes,
//                                  after twice of it the connection counts as broken; 500 to
//                                  5000
//   "trustedCertificates"
//                 string  ""       a PEM file with the authorities whose servers are trusted, in
//                                  the whole process and in place of the system's
//
// Each delay is shortened by a random part, a half at most. An empty text means all defaults.
// Unknown keys are logged and ignored.
//
// Thread: any.
// Failure: see parseSettings.

#pragma once

#include <optional>
#include <string>

#include "publish/network_settings.h"

namespace NimboEngine {

struct Settings {
  std::string camera;
  std::string microphone;
  NetworkSettings network;
  std::string trustedCertificates;
};

// Without a value, `problem` says what is wrong and names the key. A null text counts as empty.
std::optional<Settings> parseSettings(const char* text, std::string& problem);

}  // namespace NimboEngine

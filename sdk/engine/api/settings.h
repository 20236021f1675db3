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
//   "trustedCertificates"
//                 string  ""       a PEM file with the authorities whose servers are trusted, in
//                                  the whole process and in place of the system's
//
// An empty text means all defaults. Unknown keys are logged and ignored.
//
// Thread: any.
// Failure: see parseSettings.

#pragma once

#include <optional>
#include <string>

namespace NimboEngine {

struct Settings {
  std::string camera;
  std::string microphone;
  std::string trustedCertificates;
};

// Without a value, `problem` says what is wrong and names the key. A null text counts as empty.
std::optional<Settings> parseSettings(const char* text, std::string& problem);

}  // namespace NimboEngine

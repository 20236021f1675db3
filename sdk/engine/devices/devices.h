// Names and identifiers of cameras and microphones.
//
// Identifiers are stable while the process lives and, if the system provides stable names, beyond:
//   "test"         the test pattern or the test tone
//   "file:<path>"  a media file as camera "file"         that file's audio as microphone other
//   a device, by its node name or path
//
// Thread: any.
// Failure: none.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace NimboEngine {

enum class DeviceKind { kCamera, kMicrophone };

enum class Transport : int32_t {
  kUnknown = 0,
  kBuiltIn = 1,  // on the computer's own bus
  kUsb = 2,
  kBluetooth = 3,
  kVirtual = 4,  // no hardware: the test sources, a file
};

struct Device {
  std::string id;
  std::string name;  // display name
  Transport transport = Transport::kUnknown;
};

inline constexpr char kTestDevice[] = "test";
inline constexpr char kFileAudio[] = "file";
inline constexpr char kDefaultMicrophone[] = "default";

// Returns the file's path if `camera` names a file.
inline std::optional<std::string> cameraFile(const std::string& camera) {
  constexpr char kPrefix[] = "file:";
  if (!camera.starts_with(kPrefix)) return std::nullopt;
  return camera.substr(sizeof kPrefix - 1);
}

// Returns whether the device may be plugged in and unplugged.
inline bool isPluggable(const std::string& id) {
  return id != kTestDevice && id != kFileAudio && !cameraFile(id);
}

}  // namespace NimboEngine

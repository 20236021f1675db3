// The cameras and microphones that can be chosen: those that are plugged in, then the test sources
// and a configured file, which are always there.
//
// Identifiers are stable while the process lives and, where the system gives stable names, beyond:
//   "test"         the test pattern or the test tone
//   "file:<path>"  a media file as camera
//   "file"         that file's sound as microphone
//   other          a device, by its node name or path
//
// Thread: any. The first call may wait for the first look at the devices, a second at most.
// Failure: a device that is not there is answered with nothing.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gst/gst_ptr.h"

namespace NimboEngine {

enum class Transport : int32_t {
  kUnknown = 0,
  kBuiltIn = 1,  // on the computer's own bus
  kUsb = 2,
  kBluetooth = 3,
  kVirtual = 4,  // no hardware: the test sources, a file
};

struct Device {
  std::string id;
  std::string name;  // for people
  Transport transport = Transport::kUnknown;
};

inline constexpr char kTestDevice[] = "test";
inline constexpr char kFileSound[] = "file";
inline constexpr char kDefaultMicrophone[] = "default";

// The file's path when `camera` names a file.
std::optional<std::string> cameraFile(const std::string& camera);

// Begins to look for devices, so that later calls need not wait.
void prepareDevices();

// All that can be chosen. `camera` is the configured camera: a file there gets entries of its own.
std::vector<Device> listCameras(const std::string& camera);
std::vector<Device> listMicrophones(const std::string& camera);

// The entry that a configured identifier stands for.
// Camera "": the first real camera, else the test pattern.
// Microphone "": the sound of a camera that is a file, else the default microphone, else the test
// tone. "default": the default microphone.
std::optional<Device> findCamera(const std::string& camera);
std::optional<Device> findMicrophone(const std::string& microphone, const std::string& camera);

// The handle of a plugged-in device; null when it is not there (any more).
GstPtr<GstDevice> openCamera(const std::string& id);
GstPtr<GstDevice> openMicrophone(const std::string& id);

}  // namespace NimboEngine

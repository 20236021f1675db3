// Cameras and microphones. Identifiers are stable while the process lives and, if the system
// provides stable names, beyond.
//
// Thread: plain values.

#pragma once

#include <cstdint>
#include <string>

#include "devices/device_id.h"

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
  DeviceId id;
  std::string name;  // display name
  Transport transport = Transport::kUnknown;
};

}  // namespace NimboEngine

// The plugged-in devices, each listed once even if several system services report it.
//
// Thread: any. The first call may wait for the first device scan, a second at most.
// Failure: a device that is not plugged in yields nothing.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "devices/devices.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

struct PluggedDevice {
  Device device;
  bool isDefault = false;  // the system's choice among those of its kind
};

// Starts the device scan, so that later calls need not wait.
void prepareDevices();

std::vector<PluggedDevice> pluggedDevices(DeviceKind kind);

// Returns the handle of a plugged-in device; null if it is not there (any more).
GstPtr<GstDevice> findPlugged(DeviceKind kind, const DeviceId& id);

// Reports every device that is unplugged during the lifetime of the watch; by then it has left the
// list. Only one watch may exist at a time.
//
// Thread: the callback runs on a GStreamer thread. Destruction waits for a call in progress.
class UnplugWatch {
 public:
  using Callback = std::function<void(DeviceKind kind, const DeviceId& id)>;

  explicit UnplugWatch(Callback onUnplugged);
  ~UnplugWatch();
  UnplugWatch(const UnplugWatch&) = delete;
  UnplugWatch& operator=(const UnplugWatch&) = delete;

 private:
  std::function<void(GstDevice&)> relay_;
};

}  // namespace NimboEngine

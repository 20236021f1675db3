// The devices that are plugged in, each once, however many of the system's services tell of it.
//
// Thread: any. The first call may wait for the first look at the devices, a second at most.
// Failure: a device that is not there is answered with nothing.

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

// Begins to look for devices, so that later calls need not wait.
void prepareDevices();

std::vector<PluggedDevice> pluggedDevices(DeviceKind kind);

// The handle of a plugged-in device; null when it is not there (any more).
GstPtr<GstDevice> findPlugged(DeviceKind kind, const std::string& id);

// Tells of every device that is unplugged, for as long as the watch lives; by then it has left the
// list. There is one watch at a time.
//
// Thread: the callback comes on a thread of GStreamer's. Destruction waits for a call under way.
class UnplugWatch {
 public:
  using Callback = std::function<void(DeviceKind kind, const std::string& id)>;

  explicit UnplugWatch(Callback onUnplugged);
  ~UnplugWatch();
  UnplugWatch(const UnplugWatch&) = delete;
  UnplugWatch& operator=(const UnplugWatch&) = delete;

 private:
  std::function<void(GstDevice&)> relay_;
};

}  // namespace NimboEngine

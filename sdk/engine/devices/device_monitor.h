// GStreamer's view of the devices that are plugged in, kept up to date while the process lives.
//
// Thread: any.
// Ownership: one monitor for the process, never ended: starting and stopping monitors in turn
//   corrupts the heap while PipeWire is there.
// Failure: as long as the first look has not ended (a sound server that does not answer), there
//   are no devices. Devices of a service that starts later than the first look are not seen.

#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "gst/gst_ptr.h"

namespace NimboEngine {

class DeviceMonitor {
 public:
  static DeviceMonitor& instance();

  // Begins the first look, on a thread of its own; later calls do nothing.
  void warmUp();

  // The devices of a class such as "Video/Source". Waits for the first look, a second at most.
  std::vector<GstPtr<GstDevice>> devices(const char* deviceClass);

 private:
  DeviceMonitor() = default;
  void start();
  void look();
  bool waitForFirstLook();  // a second at most; whether it has ended
  void add(GstDevice* device);
  void remove(GstDevice* device);
  static GstBusSyncReply onMessage(GstBus* bus, GstMessage* message, gpointer self);

  std::once_flag begun_;
  GstPtr<GstDeviceMonitor> monitor_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool looked_ = false;
  // Kept here, since asking the monitor looks anew, and leaks, where a sound server is missing.
  std::vector<GstPtr<GstDevice>> devices_;
};

}  // namespace NimboEngine

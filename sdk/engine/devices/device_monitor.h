// GStreamer's view of the devices that are plugged in, kept up to date while the process lives.
//
// Thread: any.
// Ownership: one monitor for the process, never stopped: starting and stopping monitors in turn
//   corrupts the heap while PipeWire runs.
// Failure: until the first scan has completed (a sound server may not answer), there are no
//   devices. Devices of a service that starts after the first scan are not found.

#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "base/listener_slot.h"
#include "base/mutex.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

class DeviceMonitor {
 public:
  static DeviceMonitor& instance();

  // Starts the first scan, on a thread of its own; later calls do nothing.
  void warmUp();

  // Returns the devices of a class such as "Video/Source". Waits for the first scan, a second at
  // most.
  std::vector<GstPtr<GstDevice>> devices(const char* deviceClass);

  // Called on a GStreamer thread for each device that was removed, after it has left the list. Null
  // removes the listener and waits for a call in progress.
  using RemovalListener = std::function<void(GstDevice&)>;
  void setRemovalListener(RemovalListener* listener) { removal_.set(listener); }

 private:
  void start();
  void scan();
  bool waitForFirstScan();  // for a second at most; returns whether it has completed
  void replace(GstDevice* removed, GstDevice* added);
  static GstBusSyncReply onMessage(GstBus* bus, GstMessage* message, gpointer self);

  std::once_flag begun_;
  GstPtr<GstDeviceMonitor> monitor_;
  Mutex mutex_;
  ConditionVariable changed_;
  bool scanned_ NIMBO_GUARDED_BY(mutex_) = false;
  ListenerSlot<RemovalListener> removal_;
  // Kept here, since querying the monitor scans again, and leaks, where a sound server is missing.
  std::vector<GstPtr<GstDevice>> devices_ NIMBO_GUARDED_BY(mutex_);
};

}  // namespace NimboEngine

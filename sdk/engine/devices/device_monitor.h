// GStreamer's view of the devices that are plugged in, kept up to date while the process lives.
//
// Thread: any.
// Ownership: one monitor for the process, never ended: starting and stopping monitors in turn
//   corrupts the heap while PipeWire is there.
// Failure: as long as the first look has not ended (a sound server that does not answer), there
//   are no devices. Devices of a service that starts later than the first look are not seen.

#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

#include "base/listener_slot.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

class DeviceMonitor {
 public:
  static DeviceMonitor& instance();

  // Begins the first look, on a thread of its own; later calls do nothing.
  void warmUp();

  // The devices of a class such as "Video/Source". Waits for the first look, a second at most.
  std::vector<GstPtr<GstDevice>> devices(const char* deviceClass);

  // Called on a thread of GStreamer's for each device that went away, after it has left the list.
  // Null takes the listener out and waits for a call under way.
  using RemovalListener = std::function<void(GstDevice&)>;
  void setRemovalListener(RemovalListener* listener) { removal_.set(listener); }

 private:
  void start();
  void scan();
  bool waitForFirstScan();  // a second at most; whether it has ended
  void replace(GstDevice* removed, GstDevice* added);
  static GstBusSyncReply onMessage(GstBus* bus, GstMessage* message, gpointer self);

  std::once_flag begun_;
  GstPtr<GstDeviceMonitor> monitor_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool scanned_ = false;
  ListenerSlot<RemovalListener> removal_;
  // Kept here, since asking the monitor looks anew, and leaks, where a sound server is missing.
  std::vector<GstPtr<GstDevice>> devices_;
};

}  // namespace NimboEngine

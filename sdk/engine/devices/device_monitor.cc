#include "devices/device_monitor.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>

#include "base/log.h"
#include "base/never_destroyed.h"
#include "base/process_exit.h"
#include "base/tsan_annotations.h"
#include "gst/runtime.h"
#include "platform/close_on_exec.h"

namespace NimboEngine {
namespace {

GstPtr<GstDevice> reference(GstDevice* device) {
  return GstPtr<GstDevice>(GST_DEVICE(gst_object_ref(device)));
}

}  // namespace

DeviceMonitor& DeviceMonitor::instance() {
  // Other threads may ask while the process exits.
  static NeverDestroyed<DeviceMonitor> monitor;
  return *monitor;
}

void DeviceMonitor::warmUp() {
  std::call_once(begun_, [this] {
    try {
      std::thread([this] { start(); }).detach();
    } catch (const std::system_error& error) {
      NIMBO_LOG_ERROR("devices cannot be listed: {}", error.what());
      const MutexLock lock(mutex_);
      scanned_ = true;
    }
    onProcessExit(ExitStage::kDevices, [] { instance().waitForFirstScan(); });
  });
}

bool DeviceMonitor::waitForFirstScan() {
  MutexLock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(1),
                           [this]() NIMBO_REQUIRES(mutex_) { return scanned_; });
}

std::vector<GstPtr<GstDevice>> DeviceMonitor::devices(const char* deviceClass) {
  warmUp();
  if (!waitForFirstScan())
    NIMBO_LOG_WARN("the first device scan takes long; no devices are known yet");
  const MutexLock lock(mutex_);
  std::vector<GstPtr<GstDevice>> found;
  for (const GstPtr<GstDevice>& device : devices_) {
    if (gst_device_has_classes(device.get(), deviceClass)) found.push_back(reference(device.get()));
  }
  return found;
}

void DeviceMonitor::start() {
  if (startGstreamer()) scan();
  const MutexLock lock(mutex_);
  scanned_ = true;
  changed_.notify_all();
}

void DeviceMonitor::scan() {
  monitor_.reset(gst_device_monitor_new());
  for (const char* wanted : {"Video/Source", "Audio/Source"}) {
    gst_device_monitor_add_filter(monitor_.get(), wanted, nullptr);
  }
  const GstPtr<GstBus> bus(gst_device_monitor_get_bus(monitor_.get()));
  tsanRelease(this);
  gst_bus_set_sync_handler(bus.get(), &DeviceMonitor::onMessage, this, nullptr);
  if (!gst_device_monitor_start(monitor_.get())) {
    NIMBO_LOG_INFO("no service lists devices here");
  }
  GList* list = gst_device_monitor_get_devices(monitor_.get());
  for (GList* entry = list; entry; entry = entry->next) {
    const GstPtr<GstDevice> device(GST_DEVICE(entry->data));
    replace(nullptr, device.get());
  }
  g_list_free(list);
  markNewDescriptors();
}

// Either may be null. One step, so that a device that has changed is never missing from the list.
void DeviceMonitor::replace(GstDevice* removed, GstDevice* added) {
  const MutexLock lock(mutex_);
  const auto place = [this](GstDevice* device) NIMBO_REQUIRES(mutex_) {
    return std::find_if(devices_.begin(), devices_.end(),
                        [device](const auto& other) { return other.get() == device; });
  };
  const auto old = place(removed);
  if (old != devices_.end() && added) {
    *old = reference(added);
  } else if (old != devices_.end()) {
    devices_.erase(old);
  } else if (added && place(added) == devices_.end()) {
    devices_.push_back(reference(added));  // it may arrive both as a message and in the first list
  }
}

GstBusSyncReply DeviceMonitor::onMessage(GstBus*, GstMessage* message, gpointer self) {
  tsanAcquire(self);
  auto& monitor = *static_cast<DeviceMonitor*>(self);
  GstDevice* device = nullptr;
  GstDevice* replaced = nullptr;
  switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_DEVICE_ADDED:
      gst_message_parse_device_added(message, &device);
      break;
    case GST_MESSAGE_DEVICE_REMOVED:
      gst_message_parse_device_removed(message, &replaced);
      break;
    case GST_MESSAGE_DEVICE_CHANGED:
      gst_message_parse_device_changed(message, &device, &replaced);
      break;
    default:
      break;
  }
  const GstPtr<GstDevice> added(device);
  const GstPtr<GstDevice> removed(replaced);
  if (removed || added) monitor.replace(removed.get(), added.get());
  if (removed && !added) {
    monitor.removal_.call([&](RemovalListener& listener) { listener(*removed); });
  }
  gst_message_unref(message);  // the bus has no reader: a handler must free what it drops
  return GST_BUS_DROP;
}

}  // namespace NimboEngine

#include "devices/plugged_devices.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "devices/device_monitor.h"

namespace NimboEngine {
namespace {

const char* deviceClass(DeviceKind kind) {
  return kind == DeviceKind::kCamera ? "Video/Source" : "Audio/Source";
}

// A device with its properties from GStreamer.
struct Found {
  PluggedDevice plugged;
  std::string path;  // in the file system; empty where it has none
  GstPtr<GstDevice> handle;
};

std::string text(const GstStructure* properties, const char* field) {
  const gchar* value = properties ? gst_structure_get_string(properties, field) : nullptr;
  return value ? value : "";
}

std::string firstText(const GstStructure* properties, std::initializer_list<const char*> fields) {
  for (const char* field : fields) {
    if (std::string value = text(properties, field); !value.empty()) return value;
  }
  return {};
}

// PipeWire names its nodes, PulseAudio its sources, V4L2 has paths; a display name is the last
// resort.
DeviceId identifier(GstDevice* device, const GstStructure* properties) {
  std::string id =
      firstText(properties, {"node.name", "device.path", "api.v4l2.path", "device.string"});
  if (!id.empty()) return DeviceId(std::move(id));
  gchar* name = nullptr;
  if (g_object_class_find_property(G_OBJECT_GET_CLASS(device), "internal-name")) {
    g_object_get(device, "internal-name", &name, nullptr);
  }
  const GstPtr<gchar> owned(name ? name : gst_device_get_display_name(device));
  return DeviceId(owned.get());
}

Transport transport(const GstStructure* properties) {
  const std::string bus = text(properties, "device.bus");
  const std::string path = text(properties, "v4l2.device.bus_info");
  if (bus == "usb" || path.starts_with("usb-")) return Transport::kUsb;
  if (bus == "bluetooth") return Transport::kBluetooth;
  if (bus == "pci" || path.starts_with("PCI:") || path.starts_with("platform:")) {
    return Transport::kBuiltIn;
  }
  return Transport::kUnknown;
}

Found describe(GstPtr<GstDevice> handle) {
  const GstPtr<GstStructure> properties(gst_device_get_properties(handle.get()));
  const GstPtr<gchar> name(gst_device_get_display_name(handle.get()));
  gboolean isDefault = FALSE;
  if (properties) gst_structure_get_boolean(properties.get(), "is-default", &isDefault);
  return {{{identifier(handle.get(), properties.get()), name.get(), transport(properties.get())},
           isDefault == TRUE},
          firstText(properties.get(), {"api.v4l2.path", "device.path"}),
          std::move(handle)};
}

// The monitor source of a loudspeaker is not a microphone.
bool isLoudspeaker(GstDevice* device) {
  const GstPtr<GstStructure> properties(gst_device_get_properties(device));
  return text(properties.get(), "device.class") == "monitor";
}

bool isAlsa(const GstPtr<GstDevice>& device) {
  return std::string_view(G_OBJECT_TYPE_NAME(device.get())) == "GstAlsaDevice";
}

bool isSame(const Found& one, const Found& other) {
  return one.plugged.device.id == other.plugged.device.id ||
         (!one.path.empty() && one.path == other.path);
}

std::vector<Found> scan(DeviceKind kind) {
  std::vector<GstPtr<GstDevice>> handles = DeviceMonitor::instance().devices(deviceClass(kind));
  // A sound server lists the sound cards under names of its own, and shares them.
  const bool served = std::any_of(handles.begin(), handles.end(), std::not_fn(isAlsa));
  std::vector<Found> all;
  for (GstPtr<GstDevice>& handle : handles) {
    if (isLoudspeaker(handle.get()) || (served && isAlsa(handle))) continue;
    Found found = describe(std::move(handle));
    const bool known = std::any_of(all.begin(), all.end(),
                                   [&](const Found& other) { return isSame(found, other); });
    if (!known) all.push_back(std::move(found));
  }
  return all;
}

}  // namespace

void prepareDevices() {
  DeviceMonitor::instance().warmUp();
}

std::vector<PluggedDevice> pluggedDevices(DeviceKind kind) {
  std::vector<PluggedDevice> devices;
  for (Found& found : scan(kind)) devices.push_back(std::move(found.plugged));
  return devices;
}

GstPtr<GstDevice> findPlugged(DeviceKind kind, const DeviceId& id) {
  for (Found& found : scan(kind)) {
    if (found.plugged.device.id == id) return std::move(found.handle);
  }
  return nullptr;
}

UnplugWatch::UnplugWatch(Callback onUnplugged)
    : relay_([onUnplugged = std::move(onUnplugged)](GstDevice& device) {
        const DeviceKind kind = gst_device_has_classes(&device, deviceClass(DeviceKind::kCamera))
                                    ? DeviceKind::kCamera
                                    : DeviceKind::kMicrophone;
        const GstPtr<GstStructure> properties(gst_device_get_properties(&device));
        onUnplugged(kind, identifier(&device, properties.get()));
      }) {
  DeviceMonitor::instance().setRemovalListener(&relay_);
}

UnplugWatch::~UnplugWatch() {
  DeviceMonitor::instance().setRemovalListener(nullptr);
}

}  // namespace NimboEngine

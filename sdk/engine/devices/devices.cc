#include "devices/devices.h"

#include <algorithm>
#include <string_view>

#include "devices/device_monitor.h"

namespace NimboEngine {
namespace {

constexpr char kCameraClass[] = "Video/Source";
constexpr char kMicrophoneClass[] = "Audio/Source";
constexpr std::string_view kFilePrefix = "file:";

// A device with what GStreamer tells about it.
struct PluggedIn {
  Device device;
  GstPtr<GstDevice> handle;
  bool isDefault = false;
};

std::string text(const GstStructure* properties, const char* field) {
  const gchar* value = properties ? gst_structure_get_string(properties, field) : nullptr;
  return value ? value : "";
}

// PipeWire names its nodes, PulseAudio its sources, V4L2 has paths; a display name is the last
// resort.
std::string identifier(GstDevice* device, const GstStructure* properties) {
  for (const char* field : {"node.name", "device.path", "api.v4l2.path", "device.string"}) {
    if (std::string value = text(properties, field); !value.empty()) return value;
  }
  gchar* name = nullptr;
  if (g_object_class_find_property(G_OBJECT_GET_CLASS(device), "internal-name")) {
    g_object_get(device, "internal-name", &name, nullptr);
  }
  const GstPtr<gchar> owned(name ? name : gst_device_get_display_name(device));
  return owned.get();
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

std::vector<PluggedIn> pluggedIn(const char* deviceClass) {
  std::vector<PluggedIn> found;
  for (GstPtr<GstDevice>& handle : DeviceMonitor::instance().devices(deviceClass)) {
    const GstPtr<GstStructure> properties(gst_device_get_properties(handle.get()));
    // What a loudspeaker plays is no microphone.
    if (text(properties.get(), "device.class") == "monitor") continue;
    const GstPtr<gchar> name(gst_device_get_display_name(handle.get()));
    gboolean isDefault = FALSE;
    if (properties) gst_structure_get_boolean(properties.get(), "is-default", &isDefault);
    found.push_back(
        {{identifier(handle.get(), properties.get()), name.get(), transport(properties.get())},
         std::move(handle),
         isDefault == TRUE});
  }
  return found;
}

std::vector<Device> entries(const char* deviceClass) {
  std::vector<Device> devices;
  for (const PluggedIn& found : pluggedIn(deviceClass)) devices.push_back(found.device);
  return devices;
}

GstPtr<GstDevice> open(const char* deviceClass, const std::string& id) {
  for (PluggedIn& found : pluggedIn(deviceClass)) {
    if (found.device.id == id) return std::move(found.handle);
  }
  return nullptr;
}

std::string fileName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

std::optional<Device> select(const std::vector<Device>& devices, const std::string& id) {
  const auto found = std::find_if(devices.begin(), devices.end(),
                                  [&id](const Device& device) { return device.id == id; });
  return found == devices.end() ? std::nullopt : std::optional(*found);
}

std::optional<Device> defaultMicrophone() {
  const std::vector<PluggedIn> found = pluggedIn(kMicrophoneClass);
  if (found.empty()) return std::nullopt;
  const auto marked =
      std::find_if(found.begin(), found.end(), [](const auto& entry) { return entry.isDefault; });
  return (marked == found.end() ? found.front() : *marked).device;
}

}  // namespace

std::optional<std::string> cameraFile(const std::string& camera) {
  if (!camera.starts_with(kFilePrefix)) return std::nullopt;
  return camera.substr(kFilePrefix.size());
}

void prepareDevices() {
  DeviceMonitor::instance().warmUp();
}

std::vector<Device> listCameras(const std::string& camera) {
  std::vector<Device> devices = entries(kCameraClass);
  if (const auto path = cameraFile(camera)) {
    devices.push_back({camera, fileName(*path), Transport::kVirtual});
  }
  devices.push_back({kTestDevice, "Test pattern", Transport::kVirtual});
  return devices;
}

std::vector<Device> listMicrophones(const std::string& camera) {
  std::vector<Device> devices = entries(kMicrophoneClass);
  if (const auto path = cameraFile(camera)) {
    devices.push_back({kFileSound, "Sound of " + fileName(*path), Transport::kVirtual});
  }
  devices.push_back({kTestDevice, "Test tone", Transport::kVirtual});
  return devices;
}

std::optional<Device> findCamera(const std::string& camera) {
  const std::vector<Device> devices = listCameras(camera);
  if (camera.empty()) return devices.front();
  return select(devices, camera);
}

std::optional<Device> findMicrophone(const std::string& microphone, const std::string& camera) {
  if (microphone == kDefaultMicrophone) return defaultMicrophone();
  const std::vector<Device> devices = listMicrophones(camera);
  if (!microphone.empty()) return select(devices, microphone);
  if (cameraFile(camera)) return select(devices, kFileSound);
  if (auto device = defaultMicrophone()) return device;
  return select(devices, kTestDevice);
}

GstPtr<GstDevice> openCamera(const std::string& id) {
  return open(kCameraClass, id);
}

GstPtr<GstDevice> openMicrophone(const std::string& id) {
  return open(kMicrophoneClass, id);
}

}  // namespace NimboEngine

#include "devices/device_selection.h"

#include <algorithm>
#include <utility>

namespace NimboEngine {
namespace {

template <class Matches>
std::optional<Device> firstWhere(const std::vector<Device>& devices, Matches matches) {
  const auto found = std::find_if(devices.begin(), devices.end(), matches);
  return found == devices.end() ? std::nullopt : std::optional(*found);
}

std::string fileName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace

DeviceSelection::DeviceSelection(DeviceId camera, DeviceId microphone, Scan scan)
    : configuredCamera_(std::move(camera)),
      configuredMicrophone_(std::move(microphone)),
      scan_(std::move(scan)),
      camera_{configuredCamera_, {}, {}},
      microphone_{configuredMicrophone_, {}, {}} {}

// ------------------------------------------------------------------------------------- the list

std::vector<Device> DeviceSelection::fixedEntries(DeviceKind kind) const {
  const bool isCamera = kind == DeviceKind::kCamera;
  std::vector<Device> entries;
  if (const auto path = configuredCamera_.path()) {
    const std::string name = fileName(*path);
    entries.push_back(isCamera
                          ? Device{configuredCamera_, name, Transport::kVirtual}
                          : Device{DeviceId::fileAudio(), "Sound of " + name, Transport::kVirtual});
  }
  entries.push_back(
      {DeviceId::test(), isCamera ? "Test pattern" : "Test tone", Transport::kVirtual});
  return entries;
}

std::vector<Device> DeviceSelection::list(DeviceKind kind) const {
  std::vector<Device> devices;
  for (PluggedDevice& plugged : scan_(kind)) devices.push_back(std::move(plugged.device));
  for (Device& device : fixedEntries(kind)) devices.push_back(std::move(device));
  return devices;
}

// Looking up the fixed entries must not wait for devices.
std::optional<Device> DeviceSelection::entry(DeviceKind kind, const DeviceId& id) const {
  return firstWhere(id.isPluggable() ? list(kind) : fixedEntries(kind),
                    [&](const Device& device) { return device.id == id; });
}

std::optional<Device> DeviceSelection::firstPlugged(DeviceKind kind,
                                                    const std::set<DeviceId>& except) const {
  std::vector<PluggedDevice> devices = scan_(kind);
  std::erase_if(devices, [&](const auto& plugged) { return except.contains(plugged.device.id); });
  if (devices.empty()) return std::nullopt;
  const auto marked = std::find_if(devices.begin(), devices.end(),
                                   [](const auto& plugged) { return plugged.isDefault; });
  return (marked == devices.end() ? devices.front() : *marked).device;
}

Device DeviceSelection::next(DeviceKind kind, const std::set<DeviceId>& except) const {
  return firstPlugged(kind, except).value_or(fixedEntries(kind).front());
}

// ----------------------------------------------------------------------------------- what is used

std::optional<Device> DeviceSelection::resolve(DeviceKind kind, const DeviceId& wish) const {
  if (kind == DeviceKind::kMicrophone) return resolveMicrophone(wish);
  if (!wish.isAutomatic()) return entry(kind, wish);
  const auto plugged = firstPlugged(kind, {});
  return plugged ? plugged : entry(kind, DeviceId::test());
}

std::optional<Device> DeviceSelection::resolveMicrophone(const DeviceId& wish) const {
  constexpr auto kKind = DeviceKind::kMicrophone;
  if (wish.isDefault()) return firstPlugged(kKind, {});
  if (!wish.isAutomatic()) return entry(kKind, wish);
  const auto camera = now(DeviceKind::kCamera);
  if (camera && camera->id.isFile()) return entry(kKind, DeviceId::fileAudio());
  const auto plugged = firstPlugged(kKind, {});
  return plugged ? plugged : entry(kKind, DeviceId::test());
}

std::optional<Device> DeviceSelection::now(DeviceKind kind) const {
  return capturing_ ? slot(kind).used : resolve(kind, slot(kind).wish);
}

Device DeviceSelection::current(DeviceKind kind) const {
  const MutexLock lock(mutex_);
  return now(kind).value_or(Device{});
}

void DeviceSelection::beginCapture() {
  const MutexLock lock(mutex_);
  for (Slot* each : {&camera_, &microphone_}) each->failed.clear();
  camera_.used = resolve(DeviceKind::kCamera, camera_.wish);
  capturing_ = true;  // the microphone may follow the camera
  microphone_.used = resolveMicrophone(microphone_.wish);
}

void DeviceSelection::endCapture() {
  const MutexLock lock(mutex_);
  capturing_ = false;
}

DeviceSelection::Sources DeviceSelection::sources() const {
  const MutexLock lock(mutex_);
  const auto source = [this](DeviceKind kind) NIMBO_REQUIRES(mutex_) {
    const auto device = now(kind);
    return device ? device->id : slot(kind).wish;
  };
  Sources sources{source(DeviceKind::kCamera), source(DeviceKind::kMicrophone)};
  if (sources.microphone.isFileAudio() && configuredCamera_.isFile()) {
    sources.microphone = configuredCamera_;
  }
  return sources;
}

// ------------------------------------------------------------------------------ choosing, losing

bool DeviceSelection::chooseId(DeviceKind kind, const DeviceId& id) {
  const MutexLock lock(mutex_);
  Slot& chosen = slot(kind);
  const DeviceId& wish = id.isAutomatic() ? configured(kind) : id;
  const auto device = resolve(kind, wish);
  if (!device) return false;
  chosen.wish = wish;
  chosen.failed.clear();
  use(kind, *device);
  return true;
}

bool DeviceSelection::chooseName(DeviceKind kind, const std::string& name) {
  const auto device =
      firstWhere(list(kind), [&](const Device& candidate) { return candidate.name == name; });
  return device && chooseId(kind, device->id);
}

// A microphone that follows the camera changes when the camera becomes a file or stops being one.
void DeviceSelection::use(DeviceKind kind, const Device& device) {
  const auto before = std::exchange(slot(kind).used, device);
  const bool wasFile = before && before->id.isFile();
  if (capturing_ && kind == DeviceKind::kCamera && microphone_.wish.isAutomatic() &&
      wasFile != device.id.isFile()) {
    microphone_.used = resolveMicrophone({});
  }
}

std::optional<DeviceSelection::Loss> DeviceSelection::lose(DeviceKind kind, const DeviceId& id,
                                                           Cause cause) {
  const MutexLock lock(mutex_);
  Slot& losing = slot(kind);
  if (cause == Cause::kUnplugged) losing.failed.erase(id);
  const bool isNamed = losing.used && losing.used->id == id;
  if (!id.isPluggable() || !(capturing_ ? isNamed : losing.wish == id)) return std::nullopt;
  if (cause == Cause::kFailed) losing.failed.insert(id);
  Loss loss{isNamed ? *losing.used : Device{id, id.text(), {}}, next(kind, losing.failed)};
  if (losing.wish == id) losing.wish = loss.next.id;
  use(kind, loss.next);
  return loss;
}

}  // namespace NimboEngine

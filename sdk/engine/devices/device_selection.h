// Selects the camera and the microphone: those of the settings until others are chosen, and a
// replacement for a device that is lost.
//
// A camera "" stands for the first that is plugged in, else the test pattern. A microphone ""
// stands for the audio of a camera that is a file, else the default microphone, else the test tone;
// "default" for the default microphone. They are resolved when capture begins and kept until it
// ends.
//
// A lost device is replaced by the default microphone, or else by the first that is left in the
// list. The replacement of a device that was chosen counts as chosen: a device that returns appears
// in the list again, but is used only if it is chosen again.
//
// Thread: any. Functions that need the list may wait for the first device scan, a second at most.
// Failure: for a name or identifier that is not in the list the functions return false and change
//   nothing.

#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "devices/plugged_devices.h"

namespace NimboEngine {

class DeviceSelection {
 public:
  using Scan = std::function<std::vector<PluggedDevice>(DeviceKind)>;

  // The settings' identifiers. A file among them is an entry of both lists.
  DeviceSelection(DeviceId camera, DeviceId microphone, Scan scan = pluggedDevices);

  // Everything that can be chosen: plugged-in devices, the configured file, the test source.
  std::vector<Device> list(DeviceKind kind) const;

  // The device in use, or the one that capture would use now; empty if the settings name a missing
  // one.
  Device current(DeviceKind kind) const;

  // "" returns to the settings; the placeholders allowed there are allowed here too.
  bool chooseId(DeviceKind kind, const DeviceId& id);
  bool chooseName(DeviceKind kind, const std::string& name);

  void beginCapture();
  void endCapture();

  // The sources that capture opens, in the terms of CaptureSettings.
  struct Sources {
    DeviceId camera;
    DeviceId microphone;
  };
  Sources sources() const;

  enum class Cause { kUnplugged, kFailed };
  struct Loss {
    Device lost;
    Device next;
  };

  // Returns the replacement; nothing unless the device was in use or chosen. A device that failed
  // stays excluded until it is unplugged, another is chosen or capture restarts.
  std::optional<Loss> lose(DeviceKind kind, const DeviceId& id, Cause cause);

 private:
  struct Slot {
    DeviceId wish;
    std::optional<Device> used;  // while capturing; else the last that was chosen or used
    std::set<DeviceId> failed;
  };

  const DeviceId& configured(DeviceKind kind) const {
    return kind == DeviceKind::kCamera ? configuredCamera_ : configuredMicrophone_;
  }
  Slot& slot(DeviceKind kind) NIMBO_REQUIRES(mutex_) {
    return kind == DeviceKind::kCamera ? camera_ : microphone_;
  }
  const Slot& slot(DeviceKind kind) const NIMBO_REQUIRES(mutex_) {
    return kind == DeviceKind::kCamera ? camera_ : microphone_;
  }
  std::optional<Device> resolve(DeviceKind kind, const DeviceId& wish) const NIMBO_REQUIRES(mutex_);
  std::optional<Device> resolveMicrophone(const DeviceId& wish) const NIMBO_REQUIRES(mutex_);
  std::optional<Device> now(DeviceKind kind) const NIMBO_REQUIRES(mutex_);
  std::optional<Device> entry(DeviceKind kind, const DeviceId& id) const NIMBO_REQUIRES(mutex_);
  std::optional<Device> firstPlugged(DeviceKind kind, const std::set<DeviceId>& except) const
      NIMBO_REQUIRES(mutex_);
  Device next(DeviceKind kind, const std::set<DeviceId>& except) const NIMBO_REQUIRES(mutex_);
  std::vector<Device> fixedEntries(DeviceKind kind) const;
  void use(DeviceKind kind, const Device& device) NIMBO_REQUIRES(mutex_);

  // The settings' identifiers.
  const DeviceId configuredCamera_;
  const DeviceId configuredMicrophone_;
  const Scan scan_;
  mutable Mutex mutex_;
  bool capturing_ NIMBO_GUARDED_BY(mutex_) = false;
  Slot camera_ NIMBO_GUARDED_BY(mutex_);
  Slot microphone_ NIMBO_GUARDED_BY(mutex_);
};

}  // namespace NimboEngine

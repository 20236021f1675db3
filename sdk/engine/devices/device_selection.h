// Which camera and which microphone are used: those of the settings until others are chosen, and
// another one in the place of a device that is lost.
//
// A camera of "" stands for the first that is plugged in, else the test pattern. A microphone of ""
// stands for the sound of a camera that is a file, else the default microphone, else the test tone;
// "default" for the default microphone. What they stand for is decided when capture begins, and
// kept until it ends.
//
// A lost device is replaced by the default microphone, or else by the first that is left in the
// list. What replaces a device that was chosen counts as chosen: a device that comes back stands
// in the list again, and is used when it is chosen.
//
// Thread: any. What needs the list may wait for the first look at the devices, a second at most.
// Failure: a name or identifier that is not in the list is answered with false and changes nothing.

#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "devices/plugged_devices.h"

namespace NimboEngine {

class DeviceSelection {
 public:
  using Scan = std::function<std::vector<PluggedDevice>(DeviceKind)>;

  // The settings' identifiers. A file among them is an entry of both lists.
  DeviceSelection(const std::string& camera, const std::string& microphone,
                  Scan scan = pluggedDevices);

  // All that can be chosen: what is plugged in, the configured file, the test source.
  std::vector<Device> list(DeviceKind kind) const;

  // What is used, or would be if capture began now; empty when the settings name what is not there.
  Device current(DeviceKind kind) const;

  // "" goes back to what the settings say; what stands for others there may be chosen here.
  bool chooseId(DeviceKind kind, const std::string& id);
  bool chooseName(DeviceKind kind, const std::string& name);

  void beginCapture();
  void endCapture();

  // What capture has to open, in the words of CaptureSettings.
  struct Sources {
    std::string camera;
    std::string microphone;
  };
  Sources sources() const;

  enum class Cause { kUnplugged, kFailed };
  struct Loss {
    Device lost;
    Device next;
  };

  // What to use instead; nothing unless the device was used or chosen. One that failed stays
  // excluded until it is unplugged, a choice is made or capture begins anew.
  std::optional<Loss> lose(DeviceKind kind, const std::string& id, Cause cause);

 private:
  struct Slot {
    std::string configured;
    std::string wish;
    std::optional<Device> used;  // while capturing; else the last that was chosen or used
    std::set<std::string> failed;
  };

  Slot& slot(DeviceKind kind) { return kind == DeviceKind::kCamera ? camera_ : microphone_; }
  const Slot& slot(DeviceKind kind) const {
    return kind == DeviceKind::kCamera ? camera_ : microphone_;
  }
  std::optional<Device> resolve(DeviceKind kind, const std::string& wish) const;
  std::optional<Device> resolveMicrophone(const std::string& wish) const;
  std::optional<Device> now(DeviceKind kind) const;
  std::optional<Device> entry(DeviceKind kind, const std::string& id) const;
  std::optional<Device> firstPlugged(DeviceKind kind, const std::set<std::string>& except) const;
  Device next(DeviceKind kind, const std::set<std::string>& except) const;
  std::vector<Device> fixedEntries(DeviceKind kind) const;
  void use(DeviceKind kind, const Device& device);

  const Scan scan_;
  mutable std::mutex mutex_;
  bool capturing_ = false;
  Slot camera_;
  Slot microphone_;
};

}  // namespace NimboEngine

// The interface's device list.
//
// Thread: that of the pusher's caller.
// Ownership: belongs to the pusher, which refills it on every query.
// Failure: an index past the end yields an empty record.

#pragma once

#include <vector>

#include "NimboSdk/LumoLivePusher.h"
#include "devices/devices.h"

namespace NimboEngine {

class DeviceList final : public LumoRtc::LumoLiveDeviceList {
 public:
  void assign(const std::vector<Device>& devices) {
    records_.clear();
    for (const Device& device : devices) {
      records_.push_back(
          {device.name.c_str(), device.id.text().c_str(), static_cast<int32_t>(device.transport)});
    }
  }

  uint32_t getCount() override { return static_cast<uint32_t>(records_.size()); }

  LumoRtc::LumoLiveDeviceInfo getDevice(uint32_t index) override {
    return index < records_.size() ? records_[index] : LumoRtc::LumoLiveDeviceInfo{};
  }

 private:
  std::vector<LumoRtc::LumoLiveDeviceInfo> records_;
};

}  // namespace NimboEngine

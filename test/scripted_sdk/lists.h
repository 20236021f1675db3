// The device lists and screen-source lists that the pusher returns.
//
// A test gives a list as an array of entries, or as {"entries": […], "counts": […]}: then each ask
// for the count takes the next of `counts`, and the last one stays.
//   device entry: {"deviceName", "deviceId", "transportType"}
//   source entry: {"sourceId", "sourceName"}
// An entry asked for beyond the end is empty, and the record of the ask says "outOfRange".
//
// Thread: any.
// Failure: readers throw std::invalid_argument.

#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "NimboSdk/LumoLivePusher.h"
#include "scripted_sdk/call.h"
#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

struct ScriptedDevice {
  Text name = "";
  Text id = "";
  int32_t transportType = 0;
};

struct ScriptedSource {
  int64_t id = 0;
  Text name = "";
};

template <class Entry>
struct ScriptedList {
  std::vector<Entry> entries;
  std::deque<uint32_t> counts;

  // The count for this ask.
  uint32_t takeCount();
};

// One for each object and operation, refilled on every query.
class DeviceList final : public LumoRtc::LumoLiveDeviceList {
 public:
  static ScriptedList<ScriptedDevice> read(const Json& value);
  static DeviceList* give(ScriptedList<ScriptedDevice> list, const Call& call);

  uint32_t getCount() override;
  LumoRtc::LumoLiveDeviceInfo getDevice(uint32_t index) override;

 private:
  std::mutex mutex_;
  ScriptedList<ScriptedDevice> list_;
};

// A new one for each ask, kept beyond its release, so that a use after it is recorded ("released")
// instead of being undefined.
class ScreenSourceList final : public LumoRtc::LumoLiveScreenSourceList {
 public:
  static ScriptedList<ScriptedSource> read(const Json& value);
  static ScreenSourceList* give(ScriptedList<ScriptedSource> list, const Call& call);
  static int unreleased();
  static void forgetReleased();

  explicit ScreenSourceList(ScriptedList<ScriptedSource> list) : list_(std::move(list)) {}

  uint32_t getCount() override;
  LumoRtc::LumoLiveScreenSourceInfo getSource(uint32_t index) override;
  void release() override;

 private:
  void record(const char* name, Json details);
  bool isReleased();

  std::mutex mutex_;
  ScriptedList<ScriptedSource> list_;
  bool released_ = false;
};

}  // namespace ScriptedSdk

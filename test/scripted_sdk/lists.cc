#include "scripted_sdk/lists.h"

#include <algorithm>
#include <list>
#include <map>

#include "scripted_sdk/recorder.h"
#include "scripted_sdk/strings.h"

namespace ScriptedSdk {

namespace {

// Every screen-source list since the last reset; kept until the process ends.
struct ScreenLists {
  std::mutex mutex;
  std::list<ScreenSourceList> all;
};

ScreenLists& screenLists() {
  static auto& lists = *new ScreenLists;
  return lists;
}

// The returned device lists; kept until the process ends.
struct DeviceLists {
  std::mutex mutex;
  std::map<std::pair<const void*, std::string>, DeviceList> all;
};

DeviceLists& deviceLists() {
  static auto& lists = *new DeviceLists;
  return lists;
}

template <class Entry, class ReadEntry>
ScriptedList<Entry> readList(const Json& value, const ReadEntry& readEntry) {
  const Json whole = value.is_array() ? Json{{"entries", value}} : value;
  Fields fields(whole, "list");
  ScriptedList<Entry> list;
  for (const Json& entry : fields.required("entries")) {
    Fields entryFields(entry, "list entry");
    list.entries.push_back(readEntry(entryFields));
    entryFields.finish();
  }
  if (fields.has("counts")) {
    for (const Json& count : fields.required("counts")) {
      if (!count.is_number_unsigned()) fields.refuse("no count: " + count.dump());
      list.counts.push_back(count.get<uint32_t>());
    }
  }
  fields.finish();
  return list;
}

void recordAsk(const char* name, const void* self, const Json& details) {
  Json entry = {{"name", name}, {"self", pointerJson(self)}};
  entry.update(details);
  recorder().add(Kind::kList, entry);
}

Json entryAsk(uint32_t index, bool inRange) {
  Json details = {{"index", index}};
  if (!inRange) details["outOfRange"] = true;
  return details;
}

}  // namespace

template <class Entry>
uint32_t ScriptedList<Entry>::takeCount() {
  if (counts.empty()) return static_cast<uint32_t>(entries.size());
  const uint32_t count = counts.front();
  if (counts.size() > 1) counts.pop_front();
  return count;
}

ScriptedList<ScriptedDevice> DeviceList::read(const Json& value) {
  return readList<ScriptedDevice>(value, [](Fields& fields) {
    return ScriptedDevice{.name = fields.text("deviceName", ""),
                          .id = fields.text("deviceId", ""),
                          .transportType = fields.number<int32_t>("transportType", 0)};
  });
}

ScriptedList<ScriptedSource> ScreenSourceList::read(const Json& value) {
  return readList<ScriptedSource>(value, [](Fields& fields) {
    return ScriptedSource{.id = fields.number<int64_t>("sourceId", 0),
                          .name = fields.text("sourceName", "")};
  });
}

DeviceList* DeviceList::give(ScriptedList<ScriptedDevice> list, const Call& call) {
  auto& lists = deviceLists();
  std::lock_guard lock(lists.mutex);
  DeviceList& found = lists.all[{call.self(), call.operation().name}];
  std::lock_guard listLock(found.mutex_);
  found.list_ = std::move(list);
  return &found;
}

uint32_t DeviceList::getCount() {
  std::lock_guard lock(mutex_);
  const uint32_t count = list_.takeCount();
  recordAsk("getCount", this, {{"result", count}});
  return count;
}

LumoRtc::LumoLiveDeviceInfo DeviceList::getDevice(uint32_t index) {
  std::lock_guard lock(mutex_);
  const bool inRange = index < list_.entries.size();
  recordAsk("getDevice", this, entryAsk(index, inRange));
  const ScriptedDevice device = inRange ? list_.entries[index] : ScriptedDevice();
  return {makeString(device.name), makeString(device.id), device.transportType};
}

ScreenSourceList* ScreenSourceList::give(ScriptedList<ScriptedSource> list, const Call&) {
  auto& lists = screenLists();
  std::lock_guard lock(lists.mutex);
  return &lists.all.emplace_back(std::move(list));
}

int ScreenSourceList::unreleased() {
  auto& lists = screenLists();
  std::lock_guard lock(lists.mutex);
  return static_cast<int>(std::count_if(lists.all.begin(), lists.all.end(),
                                        [](auto& list) { return !list.isReleased(); }));
}

void ScreenSourceList::forgetReleased() {
  auto& lists = screenLists();
  std::lock_guard lock(lists.mutex);
  lists.all.remove_if([](auto& list) { return list.isReleased(); });
}

uint32_t ScreenSourceList::getCount() {
  std::lock_guard lock(mutex_);
  const uint32_t count = list_.takeCount();
  record("getCount", {{"result", count}});
  return count;
}

LumoRtc::LumoLiveScreenSourceInfo ScreenSourceList::getSource(uint32_t index) {
  std::lock_guard lock(mutex_);
  const bool inRange = index < list_.entries.size();
  record("getSource", entryAsk(index, inRange));
  const ScriptedSource source = inRange ? list_.entries[index] : ScriptedSource();
  return {source.id, makeString(source.name)};
}

void ScreenSourceList::release() {
  std::lock_guard lock(mutex_);
  record("release", Json::object());
  released_ = true;
}

void ScreenSourceList::record(const char* name, Json details) {
  if (released_) {
    details["released"] = true;
    recorder().countLateCall();
  }
  recordAsk(name, this, details);
}

bool ScreenSourceList::isReleased() {
  std::lock_guard lock(mutex_);
  return released_;
}

}  // namespace ScriptedSdk

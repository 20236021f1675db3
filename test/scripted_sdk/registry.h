// The registry of the pushers, or of the players.
//
// A destroyed object stays here until forgetRetired(), so that a call on it is recorded instead of
// being undefined.
//
// Thread: any.
// Ownership: shared with the callbacks that are being fired.

#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

template <class Object>
class Registry {
 public:
  // Never destroyed.
  static Registry& instance() {
    static auto& registry = *new Registry;
    return registry;
  }

  Object* create() {
    std::lock_guard lock(mutex_);
    entries_.push_back({std::make_shared<Object>(), true});
    return entries_.back().object.get();
  }

  // The living or destroyed object at `pointer`; for null the newest living one. Null without one.
  std::shared_ptr<Object> find(const void* pointer) {
    std::lock_guard lock(mutex_);
    const auto found = std::find_if(entries_.rbegin(), entries_.rend(), [&](const Entry& entry) {
      return pointer ? identity(*entry.object) == pointer : entry.alive;
    });
    return found != entries_.rend() ? found->object : nullptr;
  }

  bool isAlive(const Object& object) {
    std::lock_guard lock(mutex_);
    return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
      return entry.alive && entry.object.get() == &object;
    });
  }

  void retire(const Object& object) {
    std::lock_guard lock(mutex_);
    for (Entry& entry : entries_) {
      if (entry.object.get() == &object) entry.alive = false;
    }
  }

  void forgetRetired() {
    std::lock_guard lock(mutex_);
    std::erase_if(entries_, [](const Entry& entry) { return !entry.alive; });
  }

  // The living ones, oldest first, as pointers.
  Json living() {
    std::lock_guard lock(mutex_);
    Json all = Json::array();
    for (const Entry& entry : entries_) {
      if (entry.alive) all.push_back(pointerJson(identity(*entry.object)));
    }
    return all;
  }

 private:
  struct Entry {
    std::shared_ptr<Object> object;
    bool alive;
  };

  // The address of the object in the interface.
  static const void* identity(const typename Object::Interface& object) { return &object; }

  std::mutex mutex_;
  std::vector<Entry> entries_;
};

}  // namespace ScriptedSdk

#include "scripted_sdk/objects.h"

#include <atomic>

#include "NimboSdk/LumoLiveBase.h"
#include "scripted_sdk/registry.h"

namespace ScriptedSdk {

namespace {

// The pusher that LumoLivePusher::destroy(), which has no argument, destroys if several exist: the
// one that was used last. A caller detaches its own pusher's listeners right before, so a pusher
// left over from an earlier test, destroyed late by a garbage collection, does not destroy the
// current one.
std::atomic<const void*> lastUsed{nullptr};

std::shared_ptr<Pusher> pusherToDestroy() {
  auto& registry = Registry<Pusher>::instance();
  const void* last = lastUsed;
  auto pusher = last ? registry.find(last) : nullptr;
  return pusher && registry.isAlive(*pusher) ? pusher : registry.find(nullptr);
}

template <class Object>
Call callOf(const Object& object, const char* name, Json args) {
  Call made(name, static_cast<const typename Object::Interface*>(&object), std::move(args));
  if (!Registry<Object>::instance().isAlive(object)) made.markDestroyed();
  return made;
}

template <class Object>
typename Object::Interface* create(const char* operation, const char* extraConfig) {
  Call call(operation, nullptr, Json::object({{"extraConfig", toJson(extraConfig)}}));
  Object* const object = call.answer().is_null() ? nullptr : Registry<Object>::instance().create();
  call.recordResult(pointerJson(static_cast<const typename Object::Interface*>(object)));
  return object;
}

template <class Object>
void end(Object& object) {
  Registry<Object>::instance().retire(object);
  object.listeners.detachAll();
}

}  // namespace

Call Pusher::call(const char* name, Json args) const {
  lastUsed = static_cast<const Interface*>(this);
  return callOf(*this, name, std::move(args));
}

Call Player::call(const char* name, Json args) const {
  return callOf(*this, name, std::move(args));
}

void Player::destroy() {
  call("player.destroy", Json::object());
  end(*this);
}

}  // namespace ScriptedSdk

namespace LumoRtc {

using ScriptedSdk::Answer;
using ScriptedSdk::Call;
using ScriptedSdk::Json;
using ScriptedSdk::toJson;

LumoLivePusher* LumoLivePusher::Create(const char* extraConfig) {
  return ScriptedSdk::create<ScriptedSdk::Pusher>("pusher.Create", extraConfig);
}

void LumoLivePusher::destroy() {
  const auto pusher = ScriptedSdk::pusherToDestroy();
  const LumoLivePusher* const self = pusher.get();
  const Call call("pusher.destroy", self, Json::object());
  if (pusher) ScriptedSdk::end(*pusher);
}

LumoLivePlayer* LumoLivePlayer::Create(const char* extraConfig) {
  return ScriptedSdk::create<ScriptedSdk::Player>("player.Create", extraConfig);
}

#include "generated/scripted_sdk/base.inc"

}  // namespace LumoRtc

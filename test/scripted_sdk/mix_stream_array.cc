#include "scripted_sdk/mix_stream_array.h"

#include <atomic>
#include <vector>

#include "scripted_sdk/recorder.h"
#include "scripted_sdk/values.h"

namespace LumoRtc {

struct LumoLiveMixStreamArrayAccess {
  using Streams = std::vector<LumoLiveMixStream>;
  static Streams& streams(const LumoLiveMixStreamArray& array) {
    return *static_cast<Streams*>(array.mStorage);
  }
};

}  // namespace LumoRtc

namespace ScriptedSdk {

namespace {

using Access = LumoRtc::LumoLiveMixStreamArrayAccess;

std::atomic<int> aliveArrays{0};

void record(const char* name, const LumoRtc::LumoLiveMixStreamArray& self,
            const Json& details = Json::object()) {
  Json entry = {{"name", name}, {"self", pointerJson(&self)}};
  entry.update(details);
  entry["count"] = Access::streams(self).size();
  recorder().add(Kind::kArray, entry);
}

}  // namespace

Json mixStreamsJson(const LumoRtc::LumoLiveMixStreamArray& streams) {
  Json all = Json::array();
  for (const auto& stream : Access::streams(streams)) all.push_back(toJson(stream));
  return all;
}

int mixStreamArraysAlive() {
  return aliveArrays;
}

}  // namespace ScriptedSdk

namespace LumoRtc {

using ScriptedSdk::Access;
using ScriptedSdk::aliveArrays;
using ScriptedSdk::pointerJson;
using ScriptedSdk::record;
using ScriptedSdk::SdkScope;
using ScriptedSdk::toJson;

LumoLiveMixStreamArray::LumoLiveMixStreamArray() : mStorage(new Access::Streams) {
  ++aliveArrays;
  record("construct", *this);
}

LumoLiveMixStreamArray::LumoLiveMixStreamArray(const LumoLiveMixStreamArray& other) {
  const SdkScope scope;
  mStorage = new Access::Streams(Access::streams(other));
  ++aliveArrays;
  record("copy", *this, {{"from", pointerJson(&other)}});
}

LumoLiveMixStreamArray& LumoLiveMixStreamArray::operator=(const LumoLiveMixStreamArray& other) {
  const SdkScope scope;
  if (this != &other) Access::streams(*this) = Access::streams(other);
  record("assign", *this, {{"from", pointerJson(&other)}});
  return *this;
}

LumoLiveMixStreamArray::~LumoLiveMixStreamArray() {
  const SdkScope scope;
  record("destroy", *this);
  delete &Access::streams(*this);
  --aliveArrays;
}

void LumoLiveMixStreamArray::Add(const LumoLiveMixStream& stream) {
  const SdkScope scope;
  Access::streams(*this).push_back(stream);
  record("Add", *this, {{"stream", toJson(stream)}});
}

void LumoLiveMixStreamArray::Clear() {
  const SdkScope scope;
  Access::streams(*this).clear();
  record("Clear", *this);
}

}  // namespace LumoRtc

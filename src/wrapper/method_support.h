// The steps that the methods share: refusing arguments, obtaining the pusher, and returning the
// result. A handler names, in this order, the arguments that it accepts, the log line and result of
// a refusal, the options that it reads, and the SDK operation that it calls.
//
// Thread: the JavaScript thread, inside a method call.

#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "utils/object_builder.h"
#include "wrapper/lumolivepush_js_wrapper.h"
#include "wrapper/option_reader.h"

namespace LumoLivePushElectronSDK {

// ---- Results of methods that fail

inline constexpr int kFailed = 1;
inline constexpr int kFailedLater = -901;  // the methods that came later to the interface
inline constexpr int kNoPlayMode = -100;
inline constexpr int kListenerNeedsPusher = -102;
struct Undefined {};
struct EmptyArray {};
struct EmptyObject {};

// ---- Results

template <typename Number>
requires std::is_arithmetic_v<Number>
void SetResult(const Arguments& args, Number result) {
  args.GetReturnValue().Set(result);
}
inline void SetResult(const Arguments& args, const char* result) {
  args.GetReturnValue().Set(TypeConverterUtils::CreateStringParam(args.GetIsolate(), result));
}
inline void SetResult(const Arguments& args, const std::string& result) {
  SetResult(args, result.c_str());
}
inline void SetResult(const Arguments& args, v8::Local<v8::Object> result) {
  args.GetReturnValue().Set(result);
}
inline void SetResult(const Arguments& args, EmptyArray) {
  SetResult(args, v8::Array::New(args.GetIsolate()).As<v8::Object>());
}
inline void SetResult(const Arguments& args, EmptyObject) {
  SetResult(args, v8::Object::New(args.GetIsolate()));
}
inline void SetResult(const Arguments&, Undefined) {}

// An array of entryAt(index) for each index of an SDK list. The count is read again before every
// entry: the list belongs to the SDK and may shrink.
template <typename List, typename EntryAt>
v8::Local<v8::Array> ArrayOfCounted(v8::Isolate* isolate, List& list, EntryAt entryAt) {
  const auto array = v8::Array::New(isolate, static_cast<int>(list.getCount()));
  for (uint32_t i = 0; i < list.getCount(); ++i) SetElement(isolate, array, i, entryAt(i));
  return array;
}

// ---- Accepted arguments. "First": more arguments may follow; "only": none may.

inline bool FirstIsObject(const Arguments& args) {
  return args.Length() >= 1 && args[0]->IsObject();
}
inline bool FirstIsString(const Arguments& args) {
  return args.Length() >= 1 && args[0]->IsString();
}
inline bool OnlyNumber(const Arguments& args) {
  return args.Length() == 1 && args[0]->IsNumber();
}
inline bool OnlyBoolean(const Arguments& args) {
  return args.Length() == 1 && args[0]->IsBoolean();
}

inline std::string StringAt(const Arguments& args, int index) {
  return TypeConverterUtils::GetStringValue(args.GetIsolate(), args[index]);
}
inline int32_t IntAt(const Arguments& args, int index) {
  return TypeConverterUtils::GetIntValue(args.GetIsolate(), args[index]);
}
inline uint32_t UIntAt(const Arguments& args, int index) {
  return TypeConverterUtils::GetUIntValue(args.GetIsolate(), args[index]);
}

// ---- Failing

// Refused arguments: the log line is the handler's own name, unless a handler names another's.
template <typename Failure>
void Refuse(const Arguments& args, CallSite site, Failure failure, const char* message = nullptr) {
  LumoLivePushJSWrapper::LogFailure(site, message ? message : site.function);
  SetResult(args, failure);
}

template <typename Failure>
void FailWithoutPusher(const Arguments& args, CallSite site, Failure failure) {
  LumoLivePushJSWrapper::LogFailure(site, "GetLivePusher failed: %s", site.function);
  SetResult(args, failure);
}

// ---- Calling the pusher

// A method without arguments, or whose arguments were accepted and have no getters to run.
template <typename Failure, typename Operation>
void CallPusher(const Arguments& args, CallSite site, Failure failure, Operation operation) {
  auto* pusher = LumoLivePushJSWrapper::GetPusherInstance(args);
  if (!pusher) return FailWithoutPusher(args, site, failure);
  SetResult(args, operation(*pusher));
}

// A method of one text, which is the pusher's `operation`.
template <typename Failure, typename Operation>
void CallPusherWithText(const Arguments& args, CallSite site, Failure failure,
                        Operation operation) {
  if (!FirstIsString(args)) return Refuse(args, site, failure);
  CallPusher(args, site, failure, [&](LumoRtc::LumoLivePusher& pusher) {
    return (pusher.*operation)(StringAt(args, 0).c_str());
  });
}

// A method of one option object: `operation(pusher, record)`. `makeRecord` gives the record with
// its defaults once there is a pusher: without one no constructor of the SDK runs.
template <typename Failure, typename Record, std::size_t size, typename Operation>
void CallPusherWithOptions(
    const Arguments& args, CallSite site, Failure failure, const OptionTable<Record, size>& table,
    Operation operation, Record (*makeRecord)() = [] { return Record{}; }) {
  if (!LumoLivePushJSWrapper::GetPusherInstance(args)) {
    return FailWithoutPusher(args, site, failure);
  }
  Record record = makeRecord();
  ReadOptions(args.GetIsolate(), args[0], table, record);
  // The object's getters may have destroyed the pusher.
  auto* pusher = LumoLivePushJSWrapper::Find(args)->CurrentPusher();
  if (!pusher) return FailWithoutPusher(args, site, failure);
  SetResult(args, operation(*pusher, record));
}

// Deliberate in the two methods that use it: refused arguments still look the pusher up, which may
// create it, and with a pusher the result stays undefined.
template <typename Operation>
void CallPusherEvenWhenRefused(const Arguments& args, CallSite site, bool accepted,
                               Operation operation) {
  if (!accepted) LumoLivePushJSWrapper::LogFailure(site, site.function);
  auto* pusher = LumoLivePushJSWrapper::GetPusherInstance(args);
  if (!pusher) return FailWithoutPusher(args, site, kFailedLater);
  if (accepted) SetResult(args, operation(*pusher));
}

}  // namespace LumoLivePushElectronSDK

// Builds the objects that JavaScript receives, key by key, in the order of its enumeration. Every
// key becomes the object's own, without running a setter that a prototype may have.
//
// Thread: the JavaScript thread, inside a handle scope.

#pragma once

#include <node.h>

#include <cstdint>
#include <string>

#include "utils/type_converter.h"

namespace LumoLivePushElectronSDK {

class ObjectBuilder {
 public:
  explicit ObjectBuilder(v8::Isolate* isolate)
      : isolate_(isolate), object_(v8::Object::New(isolate)) {}

  ObjectBuilder& Set(const char* key, v8::Local<v8::Value> value) {
    // Nothing (the script is being stopped) leaves the key out: the object is not used any more.
    [[maybe_unused]] const auto set = object_->CreateDataProperty(
        isolate_->GetCurrentContext(), TypeConverterUtils::CreateStringParam(isolate_, key), value);
    return *this;
  }
  ObjectBuilder& Set(const char* key, const char* text) {
    return Set(key, TypeConverterUtils::CreateStringParam(isolate_, text));
  }
  ObjectBuilder& Set(const char* key, const std::string& text) { return Set(key, text.c_str()); }
  ObjectBuilder& Set(const char* key, int32_t number) {
    return Set(key, TypeConverterUtils::CreateIntParam(isolate_, number));
  }
  ObjectBuilder& Set(const char* key, uint32_t number) {
    return Set(key, TypeConverterUtils::CreateUint32Param(isolate_, number));
  }
  ObjectBuilder& Set(const char* key, uint64_t number) {
    return Set(key, TypeConverterUtils::CreateUint64Param(isolate_, number));
  }
  ObjectBuilder& Set(const char* key, bool flag) {
    return Set(key, TypeConverterUtils::CreateBoolParam(isolate_, flag));
  }

  v8::Local<v8::Object> object() const { return object_; }

 private:
  v8::Isolate* isolate_;
  v8::Local<v8::Object> object_;
};

// The same for an element of an array.
inline void SetElement(v8::Isolate* isolate, v8::Local<v8::Array> array, uint32_t index,
                       v8::Local<v8::Value> value) {
  [[maybe_unused]] const auto set =
      array->CreateDataProperty(isolate->GetCurrentContext(), index, value);
}

}  // namespace LumoLivePushElectronSDK

// A module for tests: lets JavaScript call TypeConverterUtils directly. Pointers into buffers come
// back as the text of what they point at, null pointers as null.

#include <node.h>

#include <cstdint>
#include <string>

#include "utils/type_converter.h"

namespace {

using LumoLivePushElectronSDK::TypeConverterUtils;
using Arguments = v8::FunctionCallbackInfo<v8::Value>;

void Answer(const Arguments& args, const std::string& text) {
  args.GetReturnValue().Set(v8::String::NewFromUtf8(args.GetIsolate(), text.data(),
                                                    v8::NewStringType::kNormal,
                                                    static_cast<int>(text.size()))
                                .ToLocalChecked());
}
void Answer(const Arguments& args, const char* text) {
  if (text) return Answer(args, std::string(text));
  args.GetReturnValue().SetNull();
}
template <typename Number>
requires std::is_arithmetic_v<Number>
void Answer(const Arguments& args, Number number) {
  args.GetReturnValue().Set(number);
}

// (object, key, withoutIsolate): `withoutIsolate` true passes a null isolate. An object argument
// that is null stands for a handle that holds null.
template <auto function>
void ByKey(const Arguments& args) {
  auto object = args[0].As<v8::Object>();
  const v8::String::Utf8Value key(args.GetIsolate(), args[1]);
  auto* isolate = args[2]->IsTrue() ? nullptr : args.GetIsolate();
  Answer(args, function(isolate, object, std::string(*key, static_cast<size_t>(key.length()))));
}

// (value)
template <auto function>
void ByValue(const Arguments& args) {
  Answer(args, function(args.GetIsolate(), args[0]));
}

void GetStringValueWithoutIsolate(const Arguments& args) {
  Answer(args, TypeConverterUtils::GetStringValue(nullptr, args[0]));
}

// (number): the native value is the number cast to the function's own argument type.
template <typename Native, auto function>
void Create(const Arguments& args) {
  const double number = args[0].As<v8::Number>()->Value();
  args.GetReturnValue().Set(function(args.GetIsolate(), static_cast<Native>(number)));
}

void CreateBoolParam(const Arguments& args) {
  args.GetReturnValue().Set(
      TypeConverterUtils::CreateBoolParam(args.GetIsolate(), args[0]->IsTrue()));
}

// (text or null)
void CreateStringParam(const Arguments& args) {
  const v8::String::Utf8Value text(args.GetIsolate(), args[0]);
  args.GetReturnValue().Set(TypeConverterUtils::CreateStringParam(
      args.GetIsolate(), args[0]->IsNull() ? nullptr : *text));
}

// (length): bytes 0, 1, 2, … The native bytes are overwritten after the call, so that a missing
// copy shows.
void CreateDataParam(const Arguments& args) {
  std::string bytes(args[0].As<v8::Uint32>()->Value(), '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i);
  args.GetReturnValue().Set(TypeConverterUtils::CreateDataParam(
      args.GetIsolate(), reinterpret_cast<unsigned char*>(bytes.data()),
      static_cast<unsigned int>(bytes.size())));
  bytes.assign(bytes.size(), '\xff');
}

void Initialize(v8::Local<v8::Object> exports, v8::Local<v8::Value>, v8::Local<v8::Context>) {
  using T = TypeConverterUtils;
  NODE_SET_METHOD(exports, "HasMember", ByKey<T::HasMember>);
  NODE_SET_METHOD(exports, "GetObjectIntValue", ByKey<T::GetObjectIntValue>);
  NODE_SET_METHOD(exports, "GetObjectUIntValue", ByKey<T::GetObjectUIntValue>);
  NODE_SET_METHOD(exports, "GetObjectBoolValue", ByKey<T::GetObjectBoolValue>);
  NODE_SET_METHOD(exports, "GetObjectNumberValue", ByKey<T::GetObjectNumberValue>);
  NODE_SET_METHOD(exports, "GetObjectStringValue", ByKey<T::GetObjectStringValue>);
  NODE_SET_METHOD(exports, "GetObjectCharValue", ByKey<T::GetObjectCharValue>);
  NODE_SET_METHOD(exports, "GetIntValue", ByValue<T::GetIntValue>);
  NODE_SET_METHOD(exports, "GetUIntValue", ByValue<T::GetUIntValue>);
  NODE_SET_METHOD(exports, "GetBooleanValue", ByValue<T::GetBooleanValue>);
  NODE_SET_METHOD(exports, "GetNumberValue", ByValue<T::GetNumberValue>);
  NODE_SET_METHOD(exports, "GetStringValue", ByValue<T::GetStringValue>);
  NODE_SET_METHOD(exports, "GetStringValueWithoutIsolate", GetStringValueWithoutIsolate);
  NODE_SET_METHOD(exports, "GetCharValue", ByValue<T::GetCharValue>);
  NODE_SET_METHOD(exports, "CreateStringParam", CreateStringParam);
  NODE_SET_METHOD(exports, "CreateIntParam", Create<int, T::CreateIntParam>);
  NODE_SET_METHOD(exports, "CreateInt32Param", Create<int, T::CreateInt32Param>);
  NODE_SET_METHOD(exports, "CreateUint32Param", Create<unsigned int, T::CreateUint32Param>);
  NODE_SET_METHOD(exports, "CreateUint64Param", Create<uint64_t, T::CreateUint64Param>);
  NODE_SET_METHOD(exports, "CreateBoolParam", CreateBoolParam);
  NODE_SET_METHOD(exports, "CreateDoubleParam", Create<double, T::CreateDoubleParam>);
  NODE_SET_METHOD(exports, "CreateDataParam", CreateDataParam);
}

}  // namespace

NODE_MODULE_CONTEXT_AWARE(type_converter_probe, Initialize)

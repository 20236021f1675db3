#include "utils/type_converter.h"

#include <node_buffer.h>

#include <cstring>
#include <string_view>
#include <utility>

namespace LumoLivePushElectronSDK {
namespace {

// A string takes no more bytes of UTF-8 than this, whatever its characters.
constexpr std::size_t kLongestText = v8::String::kMaxLength;
// Of ASCII: any other character could make V8 store the whole text with two bytes each.
constexpr std::string_view kEllipsis = "...";

// At most `length` bytes of a longer `text`, without the beginning of a character.
std::string_view CutAtCharacter(std::string_view text, std::size_t length) {
  const auto continues = [&](std::size_t at) { return (text[at] & 0xc0) == 0x80; };
  while (length > 0 && continues(length)) --length;
  return text.substr(0, length);
}

// The property's value, or undefined when the key is missing or reading it throws. Every
// converter answers undefined with its fallback, so the two cases need no telling apart.
v8::Local<v8::Value> Member(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                            const std::string& key) {
  if (!TypeConverterUtils::HasMember(isolate, object, key)) return v8::Undefined(isolate);
  const v8::TryCatch swallow(isolate);
  v8::Local<v8::Value> value;
  const auto name = TypeConverterUtils::CreateStringParam(isolate, key.c_str());
  if (!object->Get(isolate->GetCurrentContext(), name).ToLocal(&value)) {
    return v8::Undefined(isolate);
  }
  return value;
}

// HasMember accepts a null isolate, so the readers by key must as well: they answer the fallback.
template <typename Result, typename Convert>
Result ReadMember(v8::Isolate* isolate, v8::Local<v8::Object>& object, const std::string& key,
                  Result fallback, Convert convert) {
  return isolate ? convert(isolate, Member(isolate, object, key)) : std::move(fallback);
}

}  // namespace

bool TypeConverterUtils::HasMember(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                   const std::string& key) {
  if (!isolate || object->IsNull() || key.empty()) return false;
  const v8::TryCatch swallow(isolate);
  return object->Has(isolate->GetCurrentContext(), CreateStringParam(isolate, key.c_str()))
      .FromMaybe(false);
}

int32_t TypeConverterUtils::GetObjectIntValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                              const std::string& key) {
  return ReadMember(isolate, object, key, -1, GetIntValue);
}

uint32_t TypeConverterUtils::GetObjectUIntValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                                const std::string& key) {
  return ReadMember(isolate, object, key, 0U, GetUIntValue);
}

bool TypeConverterUtils::GetObjectBoolValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                            const std::string& key) {
  return ReadMember(isolate, object, key, false, GetBooleanValue);
}

double TypeConverterUtils::GetObjectNumberValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                                const std::string& key) {
  return ReadMember(isolate, object, key, 0.0, GetNumberValue);
}

std::string TypeConverterUtils::GetObjectStringValue(v8::Isolate* isolate,
                                                     v8::Local<v8::Object>& object,
                                                     const std::string& key) {
  return ReadMember(isolate, object, key, std::string(), GetStringValue);
}

char* TypeConverterUtils::GetObjectCharValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                             const std::string& key) {
  return ReadMember<char*>(isolate, object, key, nullptr, GetCharValue);
}

int32_t TypeConverterUtils::GetIntValue(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  if (!value->IsNumber()) return -1;
  return value->Int32Value(isolate->GetCurrentContext()).FromMaybe(-1);
}

uint32_t TypeConverterUtils::GetUIntValue(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  if (!value->IsNumber()) return 0;
  return value->Uint32Value(isolate->GetCurrentContext()).FromMaybe(0);
}

bool TypeConverterUtils::GetBooleanValue(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  return value->IsBoolean() && value->BooleanValue(isolate);
}

double TypeConverterUtils::GetNumberValue(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  if (!value->IsNumber()) return 0.0;
  return value->NumberValue(isolate->GetCurrentContext()).FromMaybe(0.0);
}

std::string TypeConverterUtils::GetStringValue(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  if (!isolate || !value->IsString()) return {};
  const v8::String::Utf8Value text(isolate, value);
  // Built from the pointer alone, so that the text ends at an embedded U+0000.
  return *text ? std::string(*text) : std::string();
}

char* TypeConverterUtils::GetCharValue(v8::Isolate* /*isolate*/, v8::Local<v8::Value> value) {
  // The address of a Buffer without bytes may lie in memory that was given back.
  const bool has_bytes = node::Buffer::HasInstance(value) && node::Buffer::Length(value) > 0;
  return has_bytes ? node::Buffer::Data(value) : nullptr;
}

v8::Local<v8::String> TypeConverterUtils::CreateStringParam(v8::Isolate* isolate,
                                                            const char* text) {
  const std::string_view whole = text ? text : "";
  const auto create = [isolate](std::string_view part) {
    // Fails only for more bytes than V8's longest string, which none of the callers below has.
    return v8::String::NewFromUtf8(isolate, part.data(), v8::NewStringType::kNormal,
                                   static_cast<int>(part.size()))
        .ToLocalChecked();
  };
  if (whole.size() <= kLongestText) return create(whole);
  return create(
      std::string(CutAtCharacter(whole, kLongestText - kEllipsis.size())).append(kEllipsis));
}

v8::Local<v8::Number> TypeConverterUtils::CreateIntParam(v8::Isolate* isolate, const int& value) {
  return v8::Number::New(isolate, value);
}

v8::Local<v8::Integer> TypeConverterUtils::CreateInt32Param(v8::Isolate* isolate,
                                                            const int& value) {
  return v8::Integer::New(isolate, value);
}

v8::Local<v8::Integer> TypeConverterUtils::CreateUint32Param(v8::Isolate* isolate,
                                                             const unsigned int& value) {
  return v8::Integer::New(isolate, static_cast<int32_t>(value));
}

v8::Local<v8::Number> TypeConverterUtils::CreateUint64Param(v8::Isolate* isolate,
                                                            const uint64_t& value) {
  return v8::Number::New(isolate, static_cast<double>(value));
}

v8::Local<v8::Boolean> TypeConverterUtils::CreateBoolParam(v8::Isolate* isolate,
                                                           const bool& value) {
  return v8::Boolean::New(isolate, value);
}

v8::Local<v8::Number> TypeConverterUtils::CreateDoubleParam(v8::Isolate* isolate,
                                                            const double& value) {
  return v8::Number::New(isolate, value);
}

v8::Local<v8::Uint8Array> TypeConverterUtils::CreateDataParam(v8::Isolate* isolate,
                                                              unsigned char* data,
                                                              unsigned int length) {
  // Copied, never wrapped: Electron's V8 refuses array buffers over foreign memory.
  const auto buffer = v8::ArrayBuffer::New(isolate, length);
  if (length > 0) std::memcpy(buffer->Data(), data, length);
  return v8::Uint8Array::New(buffer, 0, length);
}

}  // namespace LumoLivePushElectronSDK

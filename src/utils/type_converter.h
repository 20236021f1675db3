// Conversions between V8 values and native values, with fixed fallbacks.
//
// The fallbacks are the add-on's rules for bad input: a conversion never throws, never reports and
// never leaves an exception pending; a getter or proxy trap that throws counts as a missing value.
//
// Thread: the JavaScript thread, inside a handle scope.
// Ownership: a result handle belongs to the caller's handle scope.
// Failure: only what V8 itself makes fatal, such as memory that cannot be had.

#pragma once

#include <node.h>

#include <cstdint>
#include <string>

namespace LumoLivePushElectronSDK {

class TypeConverterUtils {
 public:
  // ---- Reading a key of an object; the prototype chain counts.

  // False for a null isolate, a handle that holds null, or an empty key.
  static bool HasMember(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                        const std::string& key);

  static int32_t GetObjectIntValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                   const std::string& key);
  static uint32_t GetObjectUIntValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                     const std::string& key);
  static bool GetObjectBoolValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                 const std::string& key);
  static double GetObjectNumberValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                     const std::string& key);
  static std::string GetObjectStringValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                          const std::string& key);
  static char* GetObjectCharValue(v8::Isolate* isolate, v8::Local<v8::Object>& object,
                                  const std::string& key);

  // ---- Reading one value.

  // ToInt32 of a number, else -1.
  static int32_t GetIntValue(v8::Isolate* isolate, v8::Local<v8::Value> value);
  // ToUint32 of a number, else 0.
  static uint32_t GetUIntValue(v8::Isolate* isolate, v8::Local<v8::Value> value);
  // The boolean, else false.
  static bool GetBooleanValue(v8::Isolate* isolate, v8::Local<v8::Value> value);
  // The number, else 0.
  static double GetNumberValue(v8::Isolate* isolate, v8::Local<v8::Value> value);
  // UTF-8 of a primitive string up to its first U+0000, else "".
  static std::string GetStringValue(v8::Isolate* isolate, v8::Local<v8::Value> value);
  // The data of a Node Buffer, borrowed while that buffer lives; null for one without bytes and for
  // anything else.
  static char* GetCharValue(v8::Isolate* isolate, v8::Local<v8::Value> value);

  // ---- Creating values.

  // From UTF-8 up to the terminating zero; null gives "". A text of more bytes than V8's longest
  // string has characters is cut before that limit, between two characters, and ends with "...".
  static v8::Local<v8::String> CreateStringParam(v8::Isolate* isolate, const char* text);
  static v8::Local<v8::Number> CreateIntParam(v8::Isolate* isolate, const int& value);
  static v8::Local<v8::Integer> CreateInt32Param(v8::Isolate* isolate, const int& value);
  // Deliberate: the value is reinterpreted as signed, so from 2147483648 upward it comes out
  // negative. Callers pass values that fit.
  static v8::Local<v8::Integer> CreateUint32Param(v8::Isolate* isolate, const unsigned int& value);
  // Values above 2^53 are rounded.
  static v8::Local<v8::Number> CreateUint64Param(v8::Isolate* isolate, const uint64_t& value);
  static v8::Local<v8::Boolean> CreateBoolParam(v8::Isolate* isolate, const bool& value);
  static v8::Local<v8::Number> CreateDoubleParam(v8::Isolate* isolate, const double& value);
  // A Uint8Array over a new ArrayBuffer of exactly `length` bytes, copied from `data`.
  static v8::Local<v8::Uint8Array> CreateDataParam(v8::Isolate* isolate, unsigned char* data,
                                                   unsigned int length);
};

}  // namespace LumoLivePushElectronSDK

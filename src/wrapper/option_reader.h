// Declarative reading of option objects: a table of key and field, and one walk over the object.
//
//   constexpr OptionTable<View, 3> kViewKeys{option<&View::handle>("view"), …};
//   View view;
//   ReadOptions(isolate, object, kViewKeys, view);
//
// Thread: the JavaScript thread, inside a handle scope. Getters and proxy traps run here: after a
//   walk, look everything up again that user code could have destroyed.
// Failure: a present key of the wrong type gives its converter's fallback, not the default; a
//   getter or trap that throws counts as undefined. Nothing is left pending, unless the runtime
//   stops the script: then no further getter is run.

#pragma once

#include <node.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "NimboSdk/LumoRtcString.h"
#include "utils/type_converter.h"

namespace LumoLivePushElectronSDK {

// Converts by the field's type, so that a table cannot name the wrong converter.
inline void Convert(v8::Isolate* isolate, v8::Local<v8::Value> value, int32_t& field) {
  field = TypeConverterUtils::GetIntValue(isolate, value);
}
inline void Convert(v8::Isolate* isolate, v8::Local<v8::Value> value, uint32_t& field) {
  field = TypeConverterUtils::GetUIntValue(isolate, value);
}
inline void Convert(v8::Isolate* isolate, v8::Local<v8::Value> value, bool& field) {
  field = TypeConverterUtils::GetBooleanValue(isolate, value);
}
inline void Convert(v8::Isolate* isolate, v8::Local<v8::Value> value, std::string& field) {
  field = TypeConverterUtils::GetStringValue(isolate, value);
}
inline void Convert(v8::Isolate* isolate, v8::Local<v8::Value> value, LumoRtc::String& field) {
  field = LumoRtc::String(TypeConverterUtils::GetStringValue(isolate, value).c_str());
}
inline void Convert(v8::Isolate*, v8::Local<v8::Value> value, v8::Local<v8::Value>& field) {
  field = value;
}
template <typename Enum>
requires std::is_enum_v<Enum>
void Convert(v8::Isolate* isolate, v8::Local<v8::Value> value, Enum& field) {
  std::underlying_type_t<Enum> number{};
  Convert(isolate, value, number);
  field = static_cast<Enum>(number);
}

// One row of a table.
template <typename Record>
struct Option {
  const char* key;
  void (*read)(v8::Isolate*, v8::Local<v8::Value>, Record&);
};

template <typename Record, std::size_t size>
using OptionTable = std::array<Option<Record>, size>;

template <auto field>
struct FieldOf;
template <typename Class, typename Type, Type Class::*field>
struct FieldOf<field> {
  using Record = Class;
};

template <auto field>
constexpr auto option(const char* key) {
  using Record = typename FieldOf<field>::Record;
  return Option<Record>{key, [](v8::Isolate* isolate, v8::Local<v8::Value> value, Record& record) {
                          Convert(isolate, value, record.*field);
                        }};
}

// Returns whether the runtime is stopping the script, so that everything must return at once. To be
// called directly after any code that may have run a getter: V8 clears the state at the next call
// that can fail, and a getter that runs then could run for ever.
inline bool IsBeingStopped(v8::Isolate* isolate) {
  return isolate->IsExecutionTerminating();
}

// The property's value, undefined when reading it throws.
inline v8::Local<v8::Value> ValueOf(v8::Isolate* isolate, v8::Local<v8::Object> object,
                                    v8::Local<v8::Value> name) {
  const v8::TryCatch swallow(isolate);
  v8::Local<v8::Value> value;
  if (!object->Get(isolate->GetCurrentContext(), name).ToLocal(&value)) {
    return v8::Undefined(isolate);
  }
  return value;
}

// Calls `visit(name, value)` for each own, enumerable, string-named property, in the engine's
// order; every value is fetched, also that of an unknown name.
template <typename Visit>
void WalkOptions(v8::Isolate* isolate, v8::Local<v8::Value> object, Visit visit) {
  const auto context = isolate->GetCurrentContext();
  const auto options = object.As<v8::Object>();
  v8::Local<v8::Array> names;
  {
    const v8::TryCatch swallow(isolate);
    if (!options->GetOwnPropertyNames(context).ToLocal(&names)) return;
  }
  for (uint32_t i = 0; i < names->Length(); ++i) {
    v8::Local<v8::Value> name;
    if (!names->Get(context, i).ToLocal(&name)) continue;
    const auto value = ValueOf(isolate, options, name);
    if (IsBeingStopped(isolate)) return;
    visit(TypeConverterUtils::GetStringValue(isolate, name), value);
    if (IsBeingStopped(isolate)) return;
  }
}

// `record` holds the defaults, which the object's keys overwrite.
template <typename Record, std::size_t size>
void ReadOptions(v8::Isolate* isolate, v8::Local<v8::Value> object,
                 const OptionTable<Record, size>& table, Record& record) {
  WalkOptions(isolate, object, [&](const std::string& name, v8::Local<v8::Value> value) {
    for (const auto& row : table) {
      if (name != row.key) continue;
      row.read(isolate, value, record);
      return;
    }
  });
}

}  // namespace LumoLivePushElectronSDK

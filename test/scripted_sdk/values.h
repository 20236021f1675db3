// The interface's values as JSON, and back: numbers, texts, pointers, and records field by field
// under the interface's names.
//
// Thread: any.
// Failure: readers throw std::invalid_argument.

#pragma once

#include <type_traits>

#include "generated/scripted_sdk/records.h"
#include "scripted_sdk/json_values.h"
#include "scripted_sdk/mix_stream_array.h"
#include "scripted_sdk/strings.h"

namespace ScriptedSdk {

template <class Type>
concept IsRecord = requires {
  sizeof(RecordFields<std::remove_const_t<Type>>);
};

// Calls `visit(name, field)` for each field.
template <IsRecord Record>
void visitFields(Record& record, const auto& visit) {
  RecordFields<std::remove_const_t<Record>>::visit(record, visit);
}

template <class Type>
Json toJson(const Type& value) {
  if constexpr (std::is_enum_v<Type>) {
    return static_cast<std::underlying_type_t<Type>>(value);
  } else if constexpr (std::is_arithmetic_v<Type>) {
    return value;
  } else if constexpr (std::is_same_v<Type, const char*> || std::is_same_v<Type, LumoRtc::String>) {
    return textJson(value);
  } else if constexpr (std::is_same_v<Type, LumoRtc::LumoLiveMixStreamArray>) {
    return mixStreamsJson(value);
  } else if constexpr (IsRecord<const Type>) {
    Json fields = Json::object();
    visitFields(value, [&](const char* key, const auto& field) { fields[key] = toJson(field); });
    return fields;
  } else if constexpr (IsRecord<std::remove_pointer_t<Type>>) {
    return value ? toJson(*value) : Json();
  } else {
    return pointerJson(value);
  }
}

// Sets `value` to the field `key`; an absent one leaves numbers and pointers alone and empties
// texts. A `const char*` is made valid for the life of the process.
template <class Type>
void readField(Fields& fields, const char* key, Type& value) {
  if constexpr (std::is_same_v<Type, bool>) {
    value = fields.boolean(key, value);
  } else if constexpr (std::is_enum_v<Type>) {
    using Number = std::underlying_type_t<Type>;
    value = static_cast<Type>(fields.number<Number>(key, static_cast<Number>(value)));
  } else if constexpr (std::is_integral_v<Type>) {
    value = fields.number<Type>(key, value);
  } else if constexpr (std::is_same_v<Type, const char*>) {
    value = immortalText(fields.text(key, ""));
  } else if constexpr (std::is_same_v<Type, LumoRtc::String>) {
    value = makeString(fields.text(key, ""));
  } else {
    value = static_cast<Type>(fields.pointer(key, value));
  }
}

template <IsRecord Record>
Record readRecord(const Json& value) {
  Fields fields(value, "record");
  Record record{};
  visitFields(record, [&](const char* key, auto& field) { readField(fields, key, field); });
  fields.finish();
  return record;
}

}  // namespace ScriptedSdk

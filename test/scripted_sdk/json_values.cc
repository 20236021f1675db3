#include "scripted_sdk/json_values.h"

#include <charconv>
#include <sstream>

namespace ScriptedSdk {

Json textJson(const char* text) {
  if (!text) return nullptr;
  Json value = std::string(text);
  try {
    (void)value.dump();  // the library's own test for valid UTF-8
    return value;
  } catch (const Json::exception&) {
    return bytesJson(text);
  }
}

Json bytesJson(std::string_view bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(bytes.size() * 2);
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    hex += kDigits[value >> 4];
    hex += kDigits[value & 15];
  }
  return {{"hex", hex}};
}

Json pointerJson(const void* pointer) {
  if (!pointer) return nullptr;
  std::ostringstream text;
  text << pointer;
  return text.str();
}

Text readText(const Json& value) {
  if (value.is_null()) return std::nullopt;
  if (value.is_string()) return value.get<std::string>();
  return readBytes(value);
}

std::string readBytes(const Json& value) {
  const auto hex = value.is_object() && value.size() == 1 && value.contains("hex")
                       ? value.at("hex").get<std::string>()
                       : throw std::invalid_argument("not bytes: " + value.dump());
  if (hex.size() % 2) throw std::invalid_argument("odd number of hexadecimal digits");
  std::string bytes(hex.size() / 2, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) {
    unsigned char byte = 0;
    const char* digits = hex.data() + 2 * i;
    if (std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2) {
      throw std::invalid_argument("not hexadecimal: " + hex);
    }
    bytes[i] = static_cast<char>(byte);
  }
  return bytes;
}

void* readPointer(const Json& value) {
  if (value.is_null()) return nullptr;
  std::istringstream text(value.is_string() ? value.get<std::string>() : std::string());
  void* pointer = nullptr;
  if (!(text >> pointer) || text.peek() != EOF || text.str().rfind("0x", 0) != 0) {
    throw std::invalid_argument("not a pointer: " + value.dump());
  }
  return pointer;
}

Fields::Fields(const Json& object, std::string what) : object_(object), what_(std::move(what)) {
  if (!object_.is_object()) refuse("expected an object, not " + object_.dump());
}

const Json& Fields::required(const char* key) {
  if (!has(key)) refuse(std::string("lacks '") + key + "'");
  read_.insert(key);
  return object_.at(key);
}

std::string Fields::name(const char* key) {
  const Json& value = required(key);
  if (!value.is_string()) refuse(std::string("'") + key + "' is no string");
  return value.get<std::string>();
}

Text Fields::text(const char* key, Text fallback) {
  return has(key) ? readText(required(key)) : std::move(fallback);
}

bool Fields::boolean(const char* key, bool fallback) {
  if (!has(key)) return fallback;
  const Json& value = required(key);
  if (!value.is_boolean()) refuse(std::string("'") + key + "' is no boolean");
  return value.get<bool>();
}

void* Fields::pointer(const char* key, void* fallback) {
  return has(key) ? readPointer(required(key)) : fallback;
}

int64_t Fields::integer(const char* key, int64_t lowest, int64_t highest) {
  const Json& value = required(key);
  const bool fits = value.is_number_integer() &&
                    !(value.is_number_unsigned() && value.get<uint64_t>() > INT64_MAX) &&
                    value.get<int64_t>() >= lowest && value.get<int64_t>() <= highest;
  if (!fits) {
    refuse(std::string("'") + key + "' is no integer from " + std::to_string(lowest) + " to " +
           std::to_string(highest) + ": " + value.dump());
  }
  return value.get<int64_t>();
}

void Fields::finish() const {
  for (const auto& [key, value] : object_.items()) {
    if (!read_.count(key)) refuse("does not know '" + key + "'");
  }
}

void Fields::refuse(const std::string& error) const {
  throw std::invalid_argument(what_ + ": " + error);
}

}  // namespace ScriptedSdk

// Reading a plug-in's parameters from a JSON text. Every function returns whether it accepted its
// input; none throws.

#pragma once

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

namespace ExamplePlugins {

using Json = nlohmann::json;

// Passes each key and value of the JSON object to `accept` until it refuses one.
template <typename Accept>
bool readObject(const char* text, Accept accept) {
  const Json object = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!object.is_object()) return false;
  for (const auto& [key, value] : object.items()) {
    if (!accept(key, value)) return false;
  }
  return true;
}

inline bool readNumber(const Json& value, double least, double most, double& target) {
  if (!value.is_number()) return false;
  target = value.get<double>();
  return least <= target && target <= most;
}

// A single line: control characters are refused. `most` counts bytes.
inline bool readLine(const Json& value, std::size_t most, std::string& target) {
  if (!value.is_string()) return false;
  target = value.get<std::string>();
  const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7f; };
  return target.size() <= most && std::none_of(target.begin(), target.end(), isControl);
}

}  // namespace ExamplePlugins

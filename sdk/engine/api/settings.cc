#include "api/settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "log/log.h"

namespace NimboEngine {
namespace {

struct TextSetting {
  const char* key;
  std::string Settings::*field;
};

constexpr TextSetting kTextSettings[] = {
    {"camera", &Settings::camera},
    {"microphone", &Settings::microphone},
    {"trustedCertificates", &Settings::trustedCertificates},
};

}  // namespace

std::optional<Settings> parseSettings(const char* text, std::string& problem) {
  Settings settings;
  if (!text || !*text) return settings;
  nlohmann::json object;
  try {
    object = nlohmann::json::parse(text);
  } catch (const nlohmann::json::parse_error& error) {
    problem = error.what();
    return std::nullopt;
  }
  if (!object.is_object()) {
    problem = fmt::format("the text is a JSON {}, not an object", object.type_name());
    return std::nullopt;
  }
  for (const auto& [key, value] : object.items()) {
    const auto* known = std::find_if(std::begin(kTextSettings), std::end(kTextSettings),
                                     [&key = key](const auto& entry) { return key == entry.key; });
    if (known == std::end(kTextSettings)) {
      NIMBO_LOG_WARN("unknown setting \"{}\" is ignored", key);
      continue;
    }
    if (!value.is_string()) {
      problem = fmt::format("\"{}\" is a {}, not a string", key, value.type_name());
      return std::nullopt;
    }
    settings.*(known->field) = value.get<std::string>();
  }
  return settings;
}

}  // namespace NimboEngine

#include "api/settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>

#include "base/log.h"
#include "gst/runtime.h"
#include "net/certificate_authorities.h"

namespace NimboEngine {
namespace {

using nlohmann::json;
using namespace nlohmann::literals;
using std::chrono::milliseconds;

struct TextSetting {
  const char* key;
  std::string Settings::*field;
};

constexpr TextSetting kTextSettings[] = {
    {"camera", &Settings::camera},
    {"microphone", &Settings::microphone},
    {"trustedCertificates", &Settings::trustedCertificates},
};

struct NumberSetting {
  const char* key;  // "outer.inner": the key "inner" of the object "outer"
  int64_t low;
  int64_t high;
  void (*set)(Settings&, int64_t value);
};

constexpr std::size_t kibibytes(int64_t value) {
  return static_cast<std::size_t>(value) << 10;
}

constexpr NumberSetting kNumberSettings[] = {
    {"reconnect.maxAttempts", 0, 1000,
     [](Settings& s, int64_t value) { s.network.reconnect.maxAttempts = static_cast<int>(value); }},
    {"reconnect.firstDelayMs", 0, 600'000,
     [](Settings& s, int64_t value) { s.network.reconnect.firstDelay = milliseconds(value); }},
    {"reconnect.maxDelayMs", 0, 600'000,
     [](Settings& s, int64_t value) { s.network.reconnect.maxDelay = milliseconds(value); }},
    {"latency.minMs", 0, 10'000,
     [](Settings& s, int64_t value) { s.play.latency.minimum = milliseconds(value); }},
    {"latency.maxMs", 0, 10'000,
     [](Settings& s, int64_t value) { s.play.latency.maximum = milliseconds(value); }},
    {"limits.maxFramePixels", 65'536, 268'435'456,
     [](Settings& s, int64_t value) {
       s.play.limits.maxFramePixels = static_cast<uint64_t>(value);
     }},
    {"limits.maxQueuedBytes", 1'048'576, 1'073'741'824,
     [](Settings& s, int64_t value) {
       s.play.limits.maxQueuedBytes = static_cast<uint64_t>(value);
     }},
    {"sendTimeoutMs", 500, 5000,
     [](Settings& s, int64_t value) { s.network.sendTimeout = milliseconds(value); }},
    {"sources.maxPlaylistKiB", 16, 65'536,
     [](Settings& s, int64_t value) { s.play.sources.playlistBytes = kibibytes(value); }},
    {"sources.maxHeaderKiB", 4, 1024,
     [](Settings& s, int64_t value) { s.play.sources.headerBytes = kibibytes(value); }},
    {"sources.maxTagKiB", 16, 262'144,
     [](Settings& s, int64_t value) { s.play.sources.tagBytes = kibibytes(value); }},
};

struct FlagSetting {
  const char* key;
  bool SourceSettings::*field;
};

constexpr FlagSetting kFlagSettings[] = {
    {"sources.localFromPublic", &SourceSettings::localFromPublic},
    {"sources.httpFromHttps", &SourceSettings::httpFromHttps},
    {"sources.srtListener", &SourceSettings::srtListener},
};

struct Choice {
  const char* name;
  void (*set)(Settings&);
};

struct ChoiceSetting {
  const char* key;
  std::array<Choice, 2> choices;
};

constexpr ChoiceSetting kChoiceSettings[] = {
    {"latency.preset",
     {{{"default", [](Settings& s) { s.play.latency.lowest = false; }},
       {"lowest", [](Settings& s) { s.play.latency.lowest = true; }}}}},
};

constexpr const char* kObjectSettings[] = {"reconnect", "latency", "limits", "sources"};

template <class Table>
const auto* entryOf(const Table& table, const std::string& key) {
  const auto* found = std::find_if(std::begin(table), std::end(table),
                                   [&](const auto& entry) { return key == entry.key; });
  return found == std::end(table) ? nullptr : found;
}

tl::unexpected<Error<>> wrongType(const std::string& key, const json& value, const char* wanted) {
  const char* article = value.is_null() ? "" : value.is_structured() ? "an " : "a ";
  return refused("\"{}\" is {}{}, not {}", key, article, value.type_name(), wanted);
}

Result<void> readChoice(const ChoiceSetting& setting, const json& value, Settings& settings) {
  if (!value.is_string()) return wrongType(setting.key, value, "a string");
  const auto name = value.get<std::string>();
  std::string known;
  for (const Choice& choice : setting.choices) {
    if (name == choice.name) {
      choice.set(settings);
      return {};
    }
    known += fmt::format("{}\"{}\"", known.empty() ? "" : " or ", choice.name);
  }
  return refused("\"{}\" is {}, not {}", setting.key, value.dump(), known);
}

Result<void> readValue(const std::string& key, const json& value, Settings& settings) {
  if (const TextSetting* text = entryOf(kTextSettings, key)) {
    if (!value.is_string()) return wrongType(key, value, "a string");
    settings.*(text->field) = value.get<std::string>();
  } else if (const NumberSetting* number = entryOf(kNumberSettings, key)) {
    if (!value.is_number()) return wrongType(key, value, "a number");
    const auto given = value.get<double>();
    if (given != std::floor(given)) {
      return refused("\"{}\" is {}, not a whole number", key, value.dump());
    }
    if (given < static_cast<double>(number->low) || given > static_cast<double>(number->high)) {
      return refused("\"{}\" is {}, not {} to {}", key, value.dump(), number->low, number->high);
    }
    number->set(settings, static_cast<int64_t>(given));
  } else if (const FlagSetting* flag = entryOf(kFlagSettings, key)) {
    if (!value.is_boolean()) return wrongType(key, value, "a boolean");
    settings.play.sources.*(flag->field) = value.get<bool>();
  } else if (const ChoiceSetting* choice = entryOf(kChoiceSettings, key)) {
    return readChoice(*choice, value, settings);
  } else {
    NIMBO_LOG_WARN("unknown setting \"{}\" is ignored", key);
  }
  return {};
}

// Reads the settings in `object`, whose own key, if it has one, precedes theirs.
Result<void> readObject(const std::string& prefix, const json& object, Settings& settings) {
  for (const auto& [name, value] : object.items()) {
    const std::string key = prefix + name;
    const bool nested = std::find(std::begin(kObjectSettings), std::end(kObjectSettings), key) !=
                        std::end(kObjectSettings);
    Result<void> read;
    if (!nested) {
      read = readValue(key, value, settings);
    } else if (value.is_object()) {
      read = readObject(key + ".", value, settings);
    } else {
      read = wrongType(key, value, "an object");
    }
    if (!read) return read;
  }
  return {};
}

}  // namespace

Result<Settings> parseSettings(const char* text) {
  Settings settings;
  if (!text || !*text) return settings;
  json object;
  try {
    object = json::parse(text);
  } catch (const json::exception& thrown) {  // bad syntax, or a number that is no double
    return refused("{}", thrown.what());
  }
  if (!object.is_object()) {
    return refused("the text is a JSON {}, not an object", object.type_name());
  }
  if (const auto read = readObject("", object, settings); !read) {
    return tl::unexpected(read.error());
  }
  LatencySettings& latency = settings.play.latency;
  if (!object.contains("/latency/maxMs"_json_pointer)) {
    latency.maximum = std::max(latency.maximum, latency.minimum);
  }
  if (latency.minimum > latency.maximum) {
    return refused("\"latency.minMs\" is {}, more than \"latency.maxMs\", which is {}",
                   latency.minimum.count(), latency.maximum.count());
  }
  return settings;
}

Result<void> applySettings(const Settings& settings) {
  if (settings.trustedCertificates.empty()) return {};
  startGstreamer();
  const auto trusted = trustCertificates(settings.trustedCertificates);
  if (trusted) return {};
  return refused("\"trustedCertificates\" is \"{}\", which cannot be used: {}",
                 settings.trustedCertificates, trusted.error().text);
}

}  // namespace NimboEngine

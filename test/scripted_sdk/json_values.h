// The JSON values that cross between the tests and the scripted SDK, and checked reading of them.
//
// A text is a string, null for a null pointer, or {"hex": "…"} when its bytes are no valid UTF-8.
// A pointer is null or "0x…". Bytes are {"hex": "…"}.
//
// Thread: any; all of this is plain values.
// Failure: readers throw std::invalid_argument with a message for the author of the test. Writers
//   do not throw.

#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ScriptedSdk {

using Json = nlohmann::ordered_json;

// A text that may be a null pointer.
using Text = std::optional<std::string>;

Json textJson(const char* text);
Json bytesJson(std::string_view bytes);
Json pointerJson(const void* pointer);

Text readText(const Json& value);
std::string readBytes(const Json& value);
void* readPointer(const Json& value);

// Reads an object field by field. Every field that was not read is a mistake of the test's author
// and refused by finish().
class Fields {
 public:
  // `what` names the object in messages. `object` must outlive this reader.
  Fields(const Json& object, std::string what);

  bool has(const char* key) const { return object_.contains(key); }
  const Json& required(const char* key);

  std::string name(const char* key);  // required, not null
  Text text(const char* key, Text fallback);
  bool boolean(const char* key, bool fallback);
  void* pointer(const char* key, void* fallback);

  template <class Int>
  Int number(const char* key, Int fallback) {
    const int64_t lowest = std::numeric_limits<Int>::min();
    const int64_t highest = sizeof(Int) < sizeof(int64_t)
                                ? static_cast<int64_t>(std::numeric_limits<Int>::max())
                                : std::numeric_limits<int64_t>::max();
    return has(key) ? static_cast<Int>(integer(key, lowest, highest)) : fallback;
  }

  // Refuses fields that were not read.
  void finish() const;

  // Throws with `error`, naming the object.
  [[noreturn]] void refuse(const std::string& error) const;

 private:
  int64_t integer(const char* key, int64_t lowest, int64_t highest);

  const Json& object_;
  std::string what_;
  std::set<std::string> read_;
};

}  // namespace ScriptedSdk

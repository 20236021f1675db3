// AMF0, the encoding of RTMP's commands: a reader that trusts nothing and a writer.
//
// Only what commands are made of is kept. Dates, XML and typed objects are read as the nearest
// kept type; references and AMF3 values are not read.
//
// Thread: any; no shared state.
// Ownership: values own what they hold. A reader borrows its bytes.
// Failure: the reader gives no value and says why in error().

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace NimboEngine {

// Limits of one reader, which reads one message. Commands of servers in use stay far below.
inline constexpr std::size_t kMaxAmfDepth = 16;
inline constexpr std::size_t kMaxAmfValues = 2048;
inline constexpr std::size_t kMaxAmfStringBytes = std::size_t{64} * 1024;

struct AmfProperty;

struct AmfValue {
  enum class Type { kNull, kNumber, kBoolean, kString, kObject, kArray };

  Type type = Type::kNull;  // undefined is kNull, too
  double number = 0;        // also a date: milliseconds since 1970
  bool boolean = false;
  std::string string;
  std::vector<AmfProperty> properties;  // of an object or an associative array, in their order
  std::vector<AmfValue> elements;       // of a strict array

  // The property of that name; null when there is none or this is no object.
  const AmfValue* find(std::string_view name) const;

  // The text of the property of that name; empty when there is none.
  std::string_view textOf(std::string_view name) const;
};

struct AmfProperty {
  std::string name;
  AmfValue value;
};

enum class AmfError {
  kNone,
  kTruncated,
  kUnknownType,
  kUnsupportedType,  // a reference, or the switch to AMF3: valid, but what follows is unreadable
  kTooDeep,
  kTooManyValues,
  kStringTooLong,
};

class AmfReader {
 public:
  explicit AmfReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  bool atEnd() const { return bytes_.empty(); }

  // The next value. Once there was none, there are none any more.
  std::optional<AmfValue> read();

  AmfError error() const { return error_; }

  // What has not been read yet.
  std::span<const uint8_t> rest() const { return bytes_; }

 private:
  bool fail(AmfError error);
  bool take(std::size_t count, std::span<const uint8_t>& taken);
  bool readValue(AmfValue& value, std::size_t depth);
  bool readNumber(AmfValue& value);
  bool readString(std::string& text, std::size_t lengthBytes);
  bool readProperties(AmfValue& value, std::size_t depth);
  bool readElements(AmfValue& value, std::size_t depth);

  std::span<const uint8_t> bytes_;
  std::size_t values_ = 0;
  AmfError error_ = AmfError::kNone;
};

// Appends values to a buffer. Strings of 64 KiB and more are cut: a command has none.
class AmfWriter {
 public:
  explicit AmfWriter(std::vector<uint8_t>& out) : out_(out) {}

  AmfWriter& number(double value);
  AmfWriter& boolean(bool value);
  AmfWriter& string(std::string_view text);
  AmfWriter& null();
  AmfWriter& strings(std::span<const std::string_view> texts);  // a strict array

  // Between the two: name(), then one value, for each property.
  AmfWriter& beginObject();
  AmfWriter& name(std::string_view text);
  AmfWriter& endObject();

 private:
  std::vector<uint8_t>& out_;
};

}  // namespace NimboEngine

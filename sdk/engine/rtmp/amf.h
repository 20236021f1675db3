// AMF0, the encoding of RTMP's commands: a reader for untrusted input and a writer.
//
// Only the types used in commands are represented. Dates, XML and typed objects are read as the
// nearest of these; references and AMF3 values are not supported.
//
// Thread: any; no shared state.
// Ownership: values own their content. A reader borrows its bytes.
// Failure: the reader returns no value and sets error().

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace NimboEngine {

// Limits of one reader, which reads one message. Commands of real servers stay far below.
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

  // Returns the property of that name; null if there is none or this is not an object.
  const AmfValue* find(std::string_view name) const;

  // Returns the text of the property of that name; empty if there is none.
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

  // Returns the next value. After it has returned none, all further calls return none.
  std::optional<AmfValue> read();

  AmfError error() const { return error_; }

  // The bytes that have not been read yet.
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

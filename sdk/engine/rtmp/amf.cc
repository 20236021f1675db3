#include "rtmp/amf.h"

#include <algorithm>
#include <bit>

#include "rtmp/byte_order.h"

namespace NimboEngine {
namespace {

// The type marker, which precedes each value.
enum Marker : uint8_t {
  kNumber = 0x00,
  kBoolean = 0x01,
  kString = 0x02,
  kObject = 0x03,
  kMovieClip = 0x04,
  kNull = 0x05,
  kUndefined = 0x06,
  kReference = 0x07,
  kAssociativeArray = 0x08,
  kObjectEnd = 0x09,
  kStrictArray = 0x0a,
  kDate = 0x0b,
  kLongString = 0x0c,
  kUnsupported = 0x0d,
  kXml = 0x0f,
  kTypedObject = 0x10,
  kAmf3 = 0x11,
};

constexpr std::size_t kShortLength = 2;
constexpr std::size_t kLongLength = 4;
constexpr std::size_t kTimeZoneBytes = 2;

}  // namespace

const AmfValue* AmfValue::find(std::string_view name) const {
  const auto property = std::ranges::find(properties, name, &AmfProperty::name);
  return property == properties.end() ? nullptr : &property->value;
}

std::string_view AmfValue::textOf(std::string_view name) const {
  const AmfValue* value = find(name);
  return value ? std::string_view(value->string) : std::string_view();
}

// ------------------------------------------------------------------------------------------ reader

std::optional<AmfValue> AmfReader::read() {
  AmfValue value;
  if (error_ != AmfError::kNone || !readValue(value, 0)) return std::nullopt;
  return value;
}

bool AmfReader::fail(AmfError error) {
  error_ = error;
  return false;
}

bool AmfReader::take(std::size_t count, std::span<const uint8_t>& taken) {
  if (bytes_.size() < count) return fail(AmfError::kTruncated);
  taken = bytes_.first(count);
  bytes_ = bytes_.subspan(count);
  return true;
}

bool AmfReader::readValue(AmfValue& value, std::size_t depth) {
  if (depth >= kMaxAmfDepth) return fail(AmfError::kTooDeep);
  if (++values_ > kMaxAmfValues) return fail(AmfError::kTooManyValues);
  std::span<const uint8_t> bytes;
  if (!take(1, bytes)) return false;
  switch (bytes[0]) {
    case kNumber:
      return readNumber(value);
    case kDate:
      return readNumber(value) && take(kTimeZoneBytes, bytes);
    case kBoolean:
      if (!take(1, bytes)) return false;
      value.type = AmfValue::Type::kBoolean;
      value.boolean = bytes[0] != 0;
      return true;
    case kString:
      value.type = AmfValue::Type::kString;
      return readString(value.string, kShortLength);
    case kLongString:
    case kXml:
      value.type = AmfValue::Type::kString;
      return readString(value.string, kLongLength);
    case kNull:
    case kUndefined:
    case kUnsupported:
      return true;
    case kAssociativeArray:
      // The count is only a hint: the end marker terminates the array.
      return take(kLongLength, bytes) && readProperties(value, depth);
    case kTypedObject: {
      std::string className;
      return readString(className, kShortLength) && readProperties(value, depth);
    }
    case kObject:
      return readProperties(value, depth);
    case kStrictArray:
      return readElements(value, depth);
    case kReference:
    case kMovieClip:
    case kAmf3:
      return fail(AmfError::kUnsupportedType);
    default:
      return fail(AmfError::kUnknownType);
  }
}

bool AmfReader::readNumber(AmfValue& value) {
  std::span<const uint8_t> bytes;
  if (!take(sizeof(double), bytes)) return false;
  value.type = AmfValue::Type::kNumber;
  value.number = readDouble(bytes.data());
  return true;
}

bool AmfReader::readString(std::string& text, std::size_t lengthBytes) {
  std::span<const uint8_t> bytes;
  if (!take(lengthBytes, bytes)) return false;
  const std::size_t length =
      lengthBytes == kShortLength ? readU16(bytes.data()) : readU32(bytes.data());
  if (length > kMaxAmfStringBytes) return fail(AmfError::kStringTooLong);
  if (!take(length, bytes)) return false;
  text.assign(bytes.begin(), bytes.end());
  return true;
}

bool AmfReader::readProperties(AmfValue& value, std::size_t depth) {
  value.type = AmfValue::Type::kObject;
  while (true) {
    AmfProperty property;
    if (!readString(property.name, kShortLength)) return false;
    if (property.name.empty() && !bytes_.empty() && bytes_.front() == kObjectEnd) {
      bytes_ = bytes_.subspan(1);
      return true;
    }
    if (!readValue(property.value, depth + 1)) return false;
    value.properties.push_back(std::move(property));
  }
}

bool AmfReader::readElements(AmfValue& value, std::size_t depth) {
  value.type = AmfValue::Type::kArray;
  std::span<const uint8_t> bytes;
  if (!take(kLongLength, bytes)) return false;
  // No memory is reserved for the count, which the peer may invent: elements must arrive.
  for (uint32_t left = readU32(bytes.data()); left > 0; --left) {
    AmfValue element;
    if (!readValue(element, depth + 1)) return false;
    value.elements.push_back(std::move(element));
  }
  return true;
}

// ------------------------------------------------------------------------------------------ writer

AmfWriter& AmfWriter::number(double value) {
  out_.push_back(kNumber);
  appendBigEndian<8>(out_, std::bit_cast<uint64_t>(value));
  return *this;
}

AmfWriter& AmfWriter::boolean(bool value) {
  out_.push_back(kBoolean);
  out_.push_back(value ? 1 : 0);
  return *this;
}

AmfWriter& AmfWriter::string(std::string_view text) {
  out_.push_back(kString);
  return name(text);
}

AmfWriter& AmfWriter::null() {
  out_.push_back(kNull);
  return *this;
}

AmfWriter& AmfWriter::strings(std::span<const std::string_view> texts) {
  out_.push_back(kStrictArray);
  appendBigEndian<kLongLength>(out_, texts.size());
  for (const std::string_view text : texts) string(text);
  return *this;
}

AmfWriter& AmfWriter::beginObject() {
  out_.push_back(kObject);
  return *this;
}

AmfWriter& AmfWriter::name(std::string_view text) {
  text = text.substr(0, UINT16_MAX);
  appendBigEndian<kShortLength>(out_, text.size());
  out_.insert(out_.end(), text.begin(), text.end());
  return *this;
}

AmfWriter& AmfWriter::endObject() {
  name("");
  out_.push_back(kObjectEnd);
  return *this;
}

}  // namespace NimboEngine

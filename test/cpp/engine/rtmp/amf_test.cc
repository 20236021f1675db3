#include "rtmp/amf.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/rtmp_script.h"

namespace NimboEngine {
namespace {

using test::Bytes;

AmfError errorOf(const Bytes& bytes) {
  AmfReader reader(bytes);
  while (!reader.atEnd()) {
    if (!reader.read()) break;
  }
  return reader.error();
}

// `opening` repeated: values within values.
Bytes nested(const Bytes& opening, int depth) {
  Bytes bytes;
  for (int i = 0; i < depth; ++i) bytes.insert(bytes.end(), opening.begin(), opening.end());
  return bytes;
}

TEST(Amf, ReadsWhatItWrites) {
  constexpr std::string_view kTexts[] = {"av01", "hvc1"};
  Bytes bytes;
  AmfWriter writer(bytes);
  writer.string("connect").number(1.5).boolean(true).null().strings(kTexts);
  writer.beginObject().name("app").string("live").name("n").number(-2).endObject();
  AmfReader reader(bytes);
  EXPECT_EQ(reader.read()->string, "connect");
  EXPECT_EQ(reader.read()->number, 1.5);
  EXPECT_TRUE(reader.read()->boolean);
  EXPECT_EQ(reader.read()->type, AmfValue::Type::kNull);
  const auto texts = reader.read();
  ASSERT_EQ(texts->elements.size(), 2u);
  EXPECT_EQ(texts->elements[1].string, "hvc1");
  const auto object = reader.read();
  EXPECT_EQ(object->textOf("app"), "live");
  EXPECT_EQ(object->find("n")->number, -2);
  EXPECT_EQ(object->find("nothing"), nullptr);
  EXPECT_EQ(object->textOf("nothing"), "");
  EXPECT_TRUE(reader.atEnd());
}

TEST(Amf, ReadsTheTypesThatServersUse) {
  // Date with its time zone; long string; associative array with a wrong count; typed object;
  // undefined.
  const Bytes bytes = {0x0b, 0x40, 0x59, 0,   0,   0, 0, 0,   0, 0, 0,   0x0c, 0,   0, 0,
                       2,    'a',  'b',  0x8, 0,   0, 0, 9,   0, 1, 'k', 0x01, 1,   0, 0,
                       0x09, 0x10, 0,    1,   'T', 0, 1, 'k', 5, 0, 0,   9,    0x06};
  AmfReader reader(bytes);
  EXPECT_EQ(reader.read()->number, 100);
  EXPECT_EQ(reader.read()->string, "ab");
  EXPECT_TRUE(reader.read()->find("k")->boolean);
  EXPECT_EQ(reader.read()->properties.size(), 1u);
  EXPECT_EQ(reader.read()->type, AmfValue::Type::kNull);
  EXPECT_TRUE(reader.atEnd());
  EXPECT_EQ(reader.error(), AmfError::kNone);
}

TEST(Amf, NumbersMayBeAnything) {
  for (const double number : {std::numeric_limits<double>::infinity(), -0.0, 1e300}) {
    Bytes bytes;
    AmfWriter(bytes).number(number);
    EXPECT_EQ(AmfReader(bytes).read()->number, number);
  }
  Bytes bytes;
  AmfWriter(bytes).number(std::nan(""));
  EXPECT_TRUE(std::isnan(AmfReader(bytes).read()->number));
}

TEST(Amf, TheEndMayBeMissingAnywhere) {
  Bytes bytes;
  AmfWriter writer(bytes);
  writer.beginObject().name("a").string("text").name("b").number(1).endObject();
  for (std::size_t size = 1; size < bytes.size(); ++size) {
    AmfReader reader(std::span<const uint8_t>(bytes).first(size));
    EXPECT_FALSE(reader.read()) << size;
    EXPECT_EQ(reader.error(), AmfError::kTruncated) << size;
    EXPECT_FALSE(reader.read()) << "nothing follows an error";
  }
}

TEST(Amf, LimitsAndUnknownTypes) {
  struct Case {
    const char* name;
    Bytes bytes;
    AmfError error;
  };
  const Case cases[] = {
      {"objects 20,000 deep", nested({0x03, 0, 1, 'a'}, 20'000), AmfError::kTooDeep},
      {"arrays 20,000 deep", nested({0x0a, 0, 0, 0, 1}, 20'000), AmfError::kTooDeep},
      {"an array of 2^32 - 1 elements", {0x0a, 0xff, 0xff, 0xff, 0xff}, AmfError::kTruncated},
      {"a string of 2^31 bytes", {0x0c, 0x80, 0, 0, 0, 'a'}, AmfError::kStringTooLong},
      {"a string beyond the end", {0x02, 0, 9, 'a'}, AmfError::kTruncated},
      {"a name beyond the end", {0x03, 0xff, 0xff, 'a'}, AmfError::kTruncated},
      {"endless values", Bytes(100'000, 0x05), AmfError::kTooManyValues},
      {"an array of as many", nested({0x0a, 0, 1, 0, 0}, 1), AmfError::kTruncated},
      {"an unknown type", {0x42}, AmfError::kUnknownType},
      {"a reference", {0x07, 0, 1}, AmfError::kUnsupportedType},
      {"AMF3", {0x11, 1}, AmfError::kUnsupportedType},
      {"an end without an object", {0x09}, AmfError::kUnknownType},
  };
  for (const Case& each : cases) EXPECT_EQ(errorOf(each.bytes), each.error) << each.name;
}

TEST(Amf, LongStringsAreCut) {
  Bytes bytes;
  AmfWriter(bytes).string(std::string(100'000, 'x'));
  EXPECT_EQ(AmfReader(bytes).read()->string.size(), 65'535u);
}

}  // namespace
}  // namespace NimboEngine

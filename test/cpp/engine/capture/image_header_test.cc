#include "capture/image_header.h"

#include <gtest/gtest.h>

#include <vector>

namespace NimboEngine::test {
namespace {

using Bytes = std::vector<uint8_t>;

const Bytes kPng{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n', 0,    0, 0,    13,
                 'I',  'H', 'D', 'R', 0,    1,    2,    3,    0x10, 0, 0x20, 1};

// A comment, a table that is no frame, filling, and a progressive frame of 513 by 258 pixels.
const Bytes kJpeg{0xff, 0xd8, 0xff, 0xfe, 0, 4, 'h', 'i', 0xff, 0xc4, 0, 3,
                  9,    0xff, 0xff, 0xc2, 0, 8, 8,   1,   2,    2,    1, 3};

TEST(ImageHeader, ReadsPng) {
  const auto header = readImageHeader(kPng);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->kind, ImageKind::kPng);
  EXPECT_EQ(header->width, 0x010203U);
  EXPECT_EQ(header->height, 0x10002001U);
}

TEST(ImageHeader, FindsTheFrameOfAJpeg) {
  const auto header = readImageHeader(kJpeg);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->kind, ImageKind::kJpeg);
  EXPECT_EQ(header->width, 513U);
  EXPECT_EQ(header->height, 258U);
}

TEST(ImageHeader, EndsWithWhatIsCutOff) {
  for (const Bytes& whole : {kPng, kJpeg}) {
    const size_t needed = whole == kPng ? whole.size() : whole.size() - 1;
    for (size_t length = 0; length < needed; ++length) {
      const Bytes part(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length));
      EXPECT_FALSE(readImageHeader(part)) << length << " bytes of " << whole.size();
    }
  }
}

TEST(ImageHeader, RefusesWhatIsNeither) {
  EXPECT_FALSE(readImageHeader(Bytes{'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(readImageHeader(Bytes(100, 0xff)));
  Bytes lost = kJpeg;
  lost[5] = 200;  // a segment that ends behind the file
  EXPECT_FALSE(readImageHeader(lost));
}

}  // namespace
}  // namespace NimboEngine::test

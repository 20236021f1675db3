#include "media/coded_size.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace NimboEngine {
namespace {

using Bytes = std::vector<uint8_t>;

// Output of x264, x265, libvpx and FFmpeg's encoder of Flash video.
constexpr std::string_view kHigh = "6764000cacd941419f9f011000000300100000030320f1429960";
constexpr std::string_view kInterlaced = "674d401eeca05a126c0440000003004000000c87c50a6580";
constexpr std::string_view kScalingLists = "67f4001e919b281407b60220000003002000000641e2c5b2c0";
constexpr std::string_view kHuge = "6742c03eda00100001106c044000000300400000030283c2010a80";
constexpr std::string_view kHevc =
    "42010101600000030090000003000003003ca00a080b9f796566924caf016808000003000800000300c840";
constexpr std::string_view kVp8 = "1062009d012a4001b400";
constexpr std::string_view kSorenson = "0000840080a0005a119e";

Bytes bytesOf(std::string_view hex) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

// Concatenates the units, each preceded by `before`; null: by a length of four bytes.
Bytes joined(const std::vector<std::string_view>& units, const char* before) {
  Bytes all;
  for (const std::string_view hex : units) {
    const Bytes unit = bytesOf(hex);
    const Bytes head = before ? bytesOf(before) : Bytes{0, 0, 0, static_cast<uint8_t>(unit.size())};
    all.insert(all.end(), head.begin(), head.end());
    all.insert(all.end(), unit.begin(), unit.end());
  }
  return all;
}

TEST(CodedSize, ReadsSequenceParameterSets) {
  EXPECT_EQ(readH264Size(bytesOf(kHigh)), (CodedSize{320, 192})) << "not cropped to 180";
  EXPECT_EQ(readH264Size(bytesOf(kInterlaced)), (CodedSize{720, 576}));
  EXPECT_EQ(readH264Size(bytesOf(kScalingLists)), (CodedSize{640, 480}));
  EXPECT_EQ(readH264Size(bytesOf(kHuge)), (CodedSize{16384, 8704}));
  EXPECT_EQ(readHevcSize(bytesOf(kHevc)), (CodedSize{320, 184}));
}

TEST(CodedSize, TruncatedDataHaveNoSize) {
  for (const std::string_view hex : {kHigh, kInterlaced, kScalingLists, kHuge}) {
    EXPECT_FALSE(readH264Size(bytesOf(hex.substr(0, 10)))) << hex;
  }
  EXPECT_FALSE(readHevcSize(bytesOf(kHevc.substr(0, 30))));
  EXPECT_FALSE(readH264Size({}));
  EXPECT_FALSE(readHevcSize({}));
  EXPECT_FALSE(readH264Size(Bytes(1000, 0)));
  EXPECT_FALSE(readHevcSize(Bytes(1000, 0)));
}

TEST(CodedSize, ReturnsTheLargestSizeOfAChunk) {
  const CodedSize huge{16384, 8704};
  EXPECT_EQ(largestCodedSize("video/x-h264", 4, joined({kHigh, kHuge, kHigh}, nullptr)), huge);
  EXPECT_EQ(largestCodedSize("video/x-h264", 0, joined({kHigh, kHuge, kHigh}, "000001")), huge);
  EXPECT_EQ(largestCodedSize("video/x-h264", 0, joined({kHuge}, "00000001")), huge);
  EXPECT_EQ(largestCodedSize("video/x-h265", 0, joined({kHevc}, "000001")), (CodedSize{320, 184}));
  EXPECT_FALSE(largestCodedSize("video/x-h264", 4, joined({"65b84f"}, nullptr)));
  EXPECT_FALSE(largestCodedSize("video/x-h264", 4, Bytes{0xff, 0xff, 0xff, 0xff, 0x67}));
  EXPECT_FALSE(largestCodedSize("video/x-h264", 0, {}));
}

TEST(CodedSize, ReadsOtherCodecs) {
  EXPECT_EQ(largestCodedSize("video/x-vp8", 0, bytesOf(kVp8)), (CodedSize{320, 180}));
  EXPECT_FALSE(largestCodedSize("video/x-vp8", 0, Bytes(20, 1))) << "no key frame";
  EXPECT_FALSE(largestCodedSize("video/x-flash-video", 0, bytesOf("00008400"))) << "cut off";
  EXPECT_FALSE(largestCodedSize("video/x-flash-screen", 0, bytesOf(kVp8))) << "not known";
  // A size of two bytes each: 16384x16383.
  const Bytes large = {0x00, 0x00, 0x84, 0x00, 0xa0, 0x00, 0x1f, 0xff, 0x80, 0x00};
  EXPECT_EQ(largestCodedSize("video/x-flash-video", 0, large), (CodedSize{16384, 16383}));
  EXPECT_EQ(largestCodedSize("video/x-flash-video", 0, bytesOf(kSorenson)), (CodedSize{320, 180}));
}

TEST(CodedSize, ReadsConfigurations) {
  const Bytes avc = bytesOf(
      "0142c03effe1001b6742c03eda00100001106c044000000300400000030283c2010a8001000468ce0fc8");
  EXPECT_EQ(unitLengthBytes("video/x-h264", avc), 4u);
  EXPECT_EQ(largestConfiguredSize("video/x-h264", avc), (CodedSize{16384, 8704}));
  EXPECT_FALSE(largestConfiguredSize("video/x-h264", Bytes(avc.begin(), avc.begin() + 9)));
  const Bytes hevc = bytesOf(
      "0101600000009000000000003cf000fcfdf8f800000f04200001001840010c01ffff01600000030090000003"
      "000003003c959809210001002b42010101600000030090000003000003003ca00a080b9f796566924caf0168"
      "08000003000800000300c840");
  EXPECT_EQ(unitLengthBytes("video/x-h265", hevc), 4u);
  EXPECT_EQ(largestConfiguredSize("video/x-h265", hevc), (CodedSize{320, 184}));
  EXPECT_EQ(unitLengthBytes("video/x-vp8", avc), 0u);
  EXPECT_EQ(unitLengthBytes("video/x-h264", {}), 0u);
}

}  // namespace
}  // namespace NimboEngine

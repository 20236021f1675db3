#include "capture/camera_caps.h"

#include <gtest/gtest.h>

#include <string>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

constexpr VideoFormat kWanted{1280, 720, 30};

// The chosen format as "type width height fps", empty when there is none.
std::string choose(const char* offered, const VideoFormat& wanted = kWanted) {
  const GstPtr<GstCaps> caps(gst_caps_from_string(offered));
  const GstPtr<GstCaps> chosen = chooseCameraCaps(*caps, wanted);
  if (!chosen) return {};
  const GstStructure* format = gst_caps_get_structure(chosen.get(), 0);
  int width = 0;
  int height = 0;
  int numerator = 0;
  int denominator = 1;
  gst_structure_get_int(format, "width", &width);
  gst_structure_get_int(format, "height", &height);
  gst_structure_get_fraction(format, "framerate", &numerator, &denominator);
  return std::string(gst_structure_get_name(format)) + " " + std::to_string(width) + " " +
         std::to_string(height) + " " + std::to_string(numerator / denominator);
}

class CameraCaps : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }
};

TEST_F(CameraCaps, TakesTheWantedFormatIfOffered) {
  EXPECT_EQ(choose("video/x-raw,format=YUY2,width=640,height=480,framerate=30/1;"
                   "video/x-raw,format=YUY2,width=1280,height=720,framerate=30/1;"
                   "video/x-raw,format=YUY2,width=1920,height=1080,framerate=30/1"),
            "video/x-raw 1280 720 30");
}

TEST_F(CameraCaps, TakesARateFromAList) {
  EXPECT_EQ(choose("video/x-raw,format=YUY2,width=1280,height=720,"
                   "framerate={(fraction)60/1,(fraction)30/1,(fraction)15/1}"),
            "video/x-raw 1280 720 30");
}

TEST_F(CameraCaps, TakesWhatIsNearestInARange) {
  EXPECT_EQ(choose("video/x-raw,format=I420,width=[16,4096],height=[16,600],framerate=[1/1,120/1]"),
            "video/x-raw 1280 600 30");
}

TEST_F(CameraCaps, PrefersSmoothJpegToSlowRaw) {
  EXPECT_EQ(choose("video/x-raw,format=YUY2,width=1280,height=720,framerate=10/1;"
                   "image/jpeg,width=1280,height=720,framerate=30/1"),
            "image/jpeg 1280 720 30");
}

TEST_F(CameraCaps, PrefersRawBetweenEquals) {
  EXPECT_EQ(choose("image/jpeg,width=1280,height=720,framerate=30/1;"
                   "video/x-raw,format=YUY2,width=1280,height=720,framerate=30/1"),
            "video/x-raw 1280 720 30");
}

TEST_F(CameraCaps, ASlowCameraIsBetterThanNone) {
  EXPECT_EQ(choose("video/x-raw,format=YUY2,width=640,height=480,framerate=5/1"),
            "video/x-raw 640 480 5");
}

TEST_F(CameraCaps, SkipsFormatsThatCannotBeDecoded) {
  EXPECT_EQ(choose("video/x-h264,width=1280,height=720,framerate=30/1"), "");
  EXPECT_EQ(choose("video/x-raw(memory:DMABuf),format=NV12,width=1280,height=720,framerate=30/1"),
            "");
  EXPECT_EQ(choose("EMPTY"), "");
}

}  // namespace
}  // namespace NimboEngine

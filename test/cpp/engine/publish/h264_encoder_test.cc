#include "publish/h264_encoder.h"

#include <gtest/gtest.h>

#include <future>
#include <set>
#include <string>

#include "gst/pipeline.h"
#include "gst/runtime.h"

namespace NimboEngine {
namespace {

// Returns the encoder that a machine with these elements uses.
std::string chosen(bool wantsHardware, const std::set<std::string>& elements) {
  const H264Encoder* encoder = chooseH264Encoder(
      wantsHardware, [&](const std::string& factory) { return elements.contains(factory); });
  return encoder ? encoder->factory : "none";
}

TEST(H264EncoderChoice, X264IsTheDefault) {
  EXPECT_EQ(chosen(false, {"openh264enc", "x264enc"}), "x264enc");
}

TEST(H264EncoderChoice, OpenH264IsTheFallback) {
  EXPECT_EQ(chosen(false, {"openh264enc"}), "openh264enc");
  EXPECT_EQ(chosen(true, {"openh264enc"}), "openh264enc");
}

TEST(H264EncoderChoice, HardwareOnlyWhenAskedFor) {
  const std::set<std::string> all = {"vah264enc",   "vaapih264enc", "v4l2h264enc",
                                     "vah264lpenc", "x264enc",      "openh264enc"};
  EXPECT_EQ(chosen(false, all), "x264enc");
  EXPECT_EQ(chosen(true, all), "vah264enc");
}

TEST(H264EncoderChoice, HardwareInItsOrder) {
  EXPECT_EQ(chosen(true, {"x264enc", "v4l2h264enc", "vaapih264enc", "vah264lpenc"}), "vah264lpenc");
  EXPECT_EQ(chosen(true, {"x264enc", "v4l2h264enc", "vaapih264enc"}), "vaapih264enc");
  EXPECT_EQ(chosen(true, {"x264enc", "v4l2h264enc"}), "v4l2h264enc");
  EXPECT_EQ(chosen(true, {"x264enc"}), "x264enc");
}

TEST(H264EncoderChoice, NoneAtAll) {
  EXPECT_EQ(chosen(false, {}), "none");
  EXPECT_EQ(chosen(true, {}), "none");
  EXPECT_EQ(chosen(false, {"vah264enc"}), "none") << "hardware was not asked for";
}

// Each of the encoders that this machine has encodes as described, and can be changed.
TEST(H264Encoder, SoftwareEncodersApplyTheirSettings) {
  startGstreamer();
  struct Case {
    const char* factory;
    guint bitrate;
  };
  for (const Case& expected : {Case{"x264enc", 700}, Case{"openh264enc", 700'000}}) {
    ASSERT_TRUE(haveElement(expected.factory)) << expected.factory;
    const H264Encoder* encoder =
        chooseH264Encoder(false, [&](const std::string& name) { return name == expected.factory; });
    ASSERT_NE(encoder, nullptr);
    std::promise<std::string> outcome;
    const auto pipeline = Pipeline::parse(
        "test",
        "videotestsrc num-buffers=10 ! video/x-raw,format=I420 ! " + encoder->describe(500, 30) +
            " ! h264parse ! video/x-h264,stream-format=avc,alignment=au ! fakesink",
        [&](const PipelineMessage& message) {
          const bool ended = message.kind == PipelineMessage::Kind::kEndOfStream;
          outcome.set_value(ended ? "encoded" : message.text);
        });
    ASSERT_NE(pipeline, nullptr) << expected.factory;
    EXPECT_TRUE(pipeline->play());
    EXPECT_EQ(outcome.get_future().get(), "encoded") << expected.factory;
    const GstPtr<GstElement> element = pipeline->element("h264");
    encoder->setKbps(element.get(), 700);
    guint bitrate = 0;
    g_object_get(element.get(), "bitrate", &bitrate, nullptr);
    EXPECT_EQ(bitrate, expected.bitrate) << expected.factory;
  }
}

}  // namespace
}  // namespace NimboEngine

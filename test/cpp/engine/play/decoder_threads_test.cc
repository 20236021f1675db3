#include "play/decoder_threads.h"

#include <gst/app/gstappsink.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>

#include "gst/gst_ptr.h"
#include "gst/pipeline.h"
#include "gst/runtime.h"

namespace NimboEngine {
namespace {

constexpr int kCores = 8;

DecoderThreads live(std::string_view type, int width, int height, double rate, int cores = kCores) {
  return chooseDecoderThreads({type, width, height, rate, true}, cores);
}

constexpr DecoderThreads slices(int count) {
  return {.count = count, .frames = false};
}
constexpr DecoderThreads frames(int count) {
  return {.count = count, .frames = true};
}

TEST(DecoderThreads, FilesTakeFrameThreads) {
  EXPECT_EQ(chooseDecoderThreads({"video/x-h264", 1920, 1080, 30, false}, 8), frames(4));
  EXPECT_EQ(chooseDecoderThreads({"video/x-h264", 0, 0, 0, false}, 8), frames(4));
  EXPECT_EQ(chooseDecoderThreads({"video/x-h264", 3840, 2160, 30, false}, 2), frames(2));
  EXPECT_EQ(chooseDecoderThreads({"video/x-h264", 3840, 2160, 30, false}, 1), slices(1));
}

TEST(DecoderThreads, SmallStreamsTakeOne) {
  EXPECT_EQ(live("video/x-h264", 640, 360, 30), slices(1));
  EXPECT_EQ(live("video/x-h264", 1280, 720, 30), slices(1));
  EXPECT_EQ(live("video/x-vp8", 640, 360, 60), slices(1));
  EXPECT_EQ(chooseDecoderThreads({"video/x-h264", 640, 360, 25, false}, 8), slices(1));
}

TEST(DecoderThreads, LiveStreamsThatOneCoreDecodesAreNotDelayed) {
  EXPECT_EQ(live("video/x-h264", 1280, 720, 60), slices(4));
  EXPECT_EQ(live("video/x-h264", 1920, 1080, 60), slices(4));
  EXPECT_EQ(live("video/x-h264", 2560, 1440, 30), slices(4));
  EXPECT_EQ(live("video/x-h265", 1920, 1080, 30), slices(4));
}

TEST(DecoderThreads, LargerLiveStreamsTakeTheFewestSufficientFrameThreads) {
  EXPECT_EQ(live("video/x-h264", 3840, 2160, 30), frames(2));
  EXPECT_EQ(live("video/x-h264", 3840, 2160, 60), frames(4));
  EXPECT_EQ(live("video/x-h265", 1920, 1080, 60), frames(2));
  EXPECT_EQ(live("video/x-h265", 3840, 2160, 30), frames(4));
  EXPECT_EQ(live("video/x-h264", 3840, 2160, 60, 2), frames(2));
  EXPECT_EQ(live("video/x-h264", 3840, 2160, 60, 1), slices(1));
}

TEST(DecoderThreads, AnUnknownRateIsTheUsualOne) {
  EXPECT_EQ(live("video/x-h264", 1920, 1080, 0), slices(4));
  EXPECT_EQ(live("video/x-h264", 3840, 2160, 0), frames(2));
  EXPECT_EQ(live("video/x-h264", 0, 0, 0), slices(4));
}

TEST(DecoderThreads, DecodersWhoseThreadsDoNotDelayTakeSeveral) {
  EXPECT_EQ(live("video/x-vp9", 3840, 2160, 60), slices(4));
  EXPECT_EQ(live("video/x-vp8", 1920, 1080, 30, 2), slices(2));
}

// Returns how many frames FFmpeg's decoder had received when it output the first one: as many as it
// has frame threads, since the stream is not reordered.
class FirstFrame {
 public:
  FirstFrame(bool isLive, int size) {
    const std::string text = std::to_string(size);
    const auto pipeline = Pipeline::parse(
        "test",
        "videotestsrc num-buffers=6 ! video/x-raw,format=I420,framerate=30/1,width=" + text +
            ",height=" + text +
            " ! x264enc tune=zerolatency speed-preset=ultrafast ! h264parse !"
            " avdec_h264 name=decoder ! appsink name=sink sync=false",
        [](const auto&) {});
    const auto decoder = pipeline->element("decoder");
    tuneDecoderThreads(decoder.get(), isLive);
    count(decoder.get(), "sink", onInput);
    count(decoder.get(), "src", onOutput);
    pipeline->play();
    const auto sink = pipeline->element("sink");
    const GstPtr<GstSample> frame(
        gst_app_sink_try_pull_sample(GST_APP_SINK(sink.get()), 10 * GST_SECOND));
  }

  int inputs() const { return inputsBeforeFirst_; }

 private:
  void count(GstElement* decoder, const char* name, GstPadProbeCallback probe) {
    const GstPtr<GstPad> pad(gst_element_get_static_pad(decoder, name));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, probe, this, nullptr);
  }

  static GstPadProbeReturn onInput(GstPad*, GstPadProbeInfo*, gpointer self) {
    ++static_cast<FirstFrame*>(self)->inputs_;
    return GST_PAD_PROBE_OK;
  }

  static GstPadProbeReturn onOutput(GstPad*, GstPadProbeInfo*, gpointer data) {
    auto& self = *static_cast<FirstFrame*>(data);
    if (self.inputsBeforeFirst_ == 0) self.inputsBeforeFirst_ = self.inputs_;
    return GST_PAD_PROBE_OK;
  }

  int inputs_ = 0;
  std::atomic<int> inputsBeforeFirst_ = 0;
};

TEST(DecoderThreads, ADecoderIsSetByItsCaps) {
  ASSERT_TRUE(startGstreamer());
  const int cores = static_cast<int>(g_get_num_processors());
  EXPECT_EQ(FirstFrame(true, 320).inputs(), 1);
  EXPECT_EQ(FirstFrame(true, 2400).inputs(), std::min(cores, 2));
  EXPECT_EQ(FirstFrame(false, 1200).inputs(), std::min(cores, 4));
}

}  // namespace
}  // namespace NimboEngine

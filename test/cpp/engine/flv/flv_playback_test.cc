// Real files through the demuxer into GStreamer's decoders. Those in data/ have enhanced headers:
// they were muxed by FFmpeg 8, and the one with VP8, which FFmpeg does not write, by a script. The
// legacy ones are made by the installed ffmpeg.

#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "flv/flv_demuxer.h"
#include "gst/gst_ptr.h"
#include "gst/runtime.h"
#include "support/child_process.h"

namespace NimboEngine {
namespace {

struct Decoded {
  int video = 0;
  int audioBuffers = 0;
  int audioSamples = 0;
  GstClockTime firstVideo = GST_CLOCK_TIME_NONE;
  GstClockTime lastVideo = 0;
  GstClockTime firstAudio = GST_CLOCK_TIME_NONE;
  std::string error;
};

GstFlowReturn onSample(GstAppSink* sink, gpointer data) {
  auto& decoded = *static_cast<Decoded*>(data);
  const GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
  GstBuffer* buffer = gst_sample_get_buffer(sample.get());
  const GstClockTime time = GST_BUFFER_PTS(buffer);
  if (std::string(GST_OBJECT_NAME(sink)) == "video") {
    if (decoded.video++ == 0) decoded.firstVideo = time;
    decoded.lastVideo = time;
  } else {
    if (decoded.audioBuffers++ == 0) decoded.firstAudio = time;
    decoded.audioSamples += static_cast<int>(gst_buffer_get_size(buffer) / sizeof(int16_t));
  }
  return GST_FLOW_OK;
}

// Decodes the data of one of the demuxer's pads.
void onPad(GstElement* demuxer, GstPad* pad, gpointer data) {
  const bool video = std::string(GST_OBJECT_NAME(pad)) == "video";
  const char* description =
      video ? "queue name=in ! decodebin ! videoconvert ! video/x-raw,format=I420"
              " ! appsink name=video sync=false async=false"
            : "queue name=in ! decodebin ! audioconvert ! audioresample"
              " ! audio/x-raw,format=" GST_AUDIO_NE(S16) ",channels=1,rate=48000"
              " ! appsink name=audio sync=false async=false";
  GstElement* bin = gst_parse_bin_from_description(description, FALSE, nullptr);
  ASSERT_NE(bin, nullptr);
  // Only the queue's pad: what decodebin will be linked to is still free.
  const GstPtr<GstElement> queue(gst_bin_get_by_name(GST_BIN(bin), "in"));
  const GstPtr<GstPad> input(gst_element_get_static_pad(queue.get(), "sink"));
  gst_element_add_pad(bin, gst_ghost_pad_new("sink", input.get()));
  const GstPtr<GstElement> sink(gst_bin_get_by_name(GST_BIN(bin), GST_OBJECT_NAME(pad)));
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = onSample;
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, data, nullptr);
  const GstPtr<GstObject> pipeline(gst_element_get_parent(demuxer));
  gst_bin_add(GST_BIN(pipeline.get()), bin);
  gst_element_sync_state_with_parent(bin);
  const GstPtr<GstPad> ghost(gst_element_get_static_pad(bin, "sink"));
  EXPECT_EQ(gst_pad_link(pad, ghost.get()), GST_PAD_LINK_OK);
}

std::string errorOf(GstMessage* message) {
  GError* error = nullptr;
  gchar* debug = nullptr;
  gst_message_parse_error(message, &error, &debug);
  const GstPtr<GError> ownedError(error);
  const GstPtr<gchar> ownedDebug(debug);
  return std::string(error->message) + " " + (debug ? debug : "");
}

// Decodes the file to its end, or to an error.
Decoded decode(const std::string& path) {
  Decoded decoded;
  const std::string description = "filesrc location=" + path + " ! nimboflvdemux name=demuxer";
  const GstPtr<GstElement> pipeline(gst_parse_launch(description.c_str(), nullptr));
  const GstPtr<GstElement> demuxer(gst_bin_get_by_name(GST_BIN(pipeline.get()), "demuxer"));
  g_signal_connect(demuxer.get(), "pad-added", G_CALLBACK(onPad), &decoded);
  const GstPtr<GstBus> bus(gst_element_get_bus(pipeline.get()));
  gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
  const GstPtr<GstMessage> message(gst_bus_timed_pop_filtered(
      bus.get(), 20 * GST_SECOND, GstMessageType(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
  gst_element_set_state(pipeline.get(), GST_STATE_NULL);
  if (!message) {
    decoded.error = "no end";
  } else if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR) {
    decoded.error = errorOf(message.get());
  }
  return decoded;
}

// Nine frames at 15/s, and 0.6 s of a tone.
constexpr int kFrames = 9;
constexpr int kSamples = 48'000 * 6 / 10;

void expectAll(const Decoded& decoded, bool video) {
  EXPECT_EQ(decoded.error, "");
  // Coders pad the end to a whole frame, and some cut the start.
  EXPECT_GE(decoded.audioSamples, kSamples - 2'000);
  EXPECT_LE(decoded.audioSamples, kSamples + 8'000);
  EXPECT_GE(decoded.firstAudio, kFlvTimeOffset);
  if (!video) return;
  EXPECT_EQ(decoded.video, kFrames);
  EXPECT_NEAR(static_cast<double>(decoded.lastVideo - decoded.firstVideo) / GST_SECOND,
              (kFrames - 1) / 15., 0.002);
  // Both begin together.
  EXPECT_NEAR(static_cast<double>(decoded.firstVideo) / GST_SECOND,
              static_cast<double>(decoded.firstAudio) / GST_SECOND, 0.05);
}

class FlvPlaybackTest : public testing::TestWithParam<const char*> {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer() && registerFlvDemuxer()); }
};

TEST_P(FlvPlaybackTest, PlaysEnhancedFlv) {
  expectAll(decode(std::string(FLV_TEST_DATA "/") + GetParam() + ".flv"), true);
}

INSTANTIATE_TEST_SUITE_P(All, FlvPlaybackTest,
                         testing::Values("hevc_aac", "av1_opus", "vp9_flac", "vp8_ac3",
                                         "h264_aac_multitrack", "h264_eac3"),
                         [](const auto& test) { return std::string(test.param); });

struct LegacyCase {
  const char* name;
  std::vector<std::string> video;  // ffmpeg's arguments; none for no video
  std::vector<std::string> audio;
};

class FlvLegacyPlaybackTest : public testing::TestWithParam<LegacyCase> {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer() && registerFlvDemuxer()); }
};

TEST_P(FlvLegacyPlaybackTest, Plays) {
  const auto& [name, video, audio] = GetParam();
  const std::string path = std::filesystem::temp_directory_path() /
                           ("nimbo-flv-" + std::to_string(getpid()) + "-" + name + ".flv");
  std::vector<std::string> command = {"ffmpeg", "-v", "error", "-nostdin", "-y"};
  const auto add = [&command](const std::vector<std::string>& more) {
    command.insert(command.end(), more.begin(), more.end());
  };
  if (!video.empty()) add({"-f", "lavfi", "-i", "testsrc2=s=64x48:r=15:d=0.6"});
  add({"-f", "lavfi", "-i", "sine=440:sample_rate=48000:d=0.6"});
  add(video);
  add(audio);
  add({path});
  ASSERT_EQ(test::ChildProcess(command).wait(), 0);
  expectAll(decode(path), !video.empty());
  std::filesystem::remove(path);
}

const std::vector<std::string> kReordered = {"-c:v", "libx264", "-pix_fmt", "yuv420p", "-bf", "2"};

INSTANTIATE_TEST_SUITE_P(
    All, FlvLegacyPlaybackTest,
    testing::Values(LegacyCase{"h264_aac", kReordered, {"-c:a", "aac"}},
                    LegacyCase{
                        "h264_speex", kReordered, {"-c:a", "libspeex", "-ar", "16000", "-ac", "1"}},
                    LegacyCase{"h263_mp3", {"-c:v", "flv"}, {"-c:a", "libmp3lame", "-ar", "44100"}},
                    LegacyCase{"screen_adpcm",
                               {"-c:v", "flashsv", "-pix_fmt", "bgr24"},
                               {"-c:a", "adpcm_swf", "-ar", "22050"}},
                    LegacyCase{"nellymoser", {}, {"-c:a", "nellymoser", "-ar", "22050"}},
                    LegacyCase{"pcm", {}, {"-c:a", "pcm_s16le", "-ar", "11025"}},
                    LegacyCase{"alaw", {}, {"-c:a", "pcm_alaw", "-ar", "8000"}},
                    LegacyCase{"mulaw", {}, {"-c:a", "pcm_mulaw", "-ar", "8000"}}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace NimboEngine

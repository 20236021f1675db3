// Real files through the demuxer into GStreamer's decoders. Those in data/ were muxed by FFmpeg 8,
// which writes the enhanced headers; the legacy ones are made by the installed ffmpeg.

#include <gst/app/gstappsink.h>
#include <gtest/gtest.h>

#include <string>

#include "flv/flv_demuxer.h"
#include "gst/gst_ptr.h"
#include "gst/runtime.h"

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

// Decodes what comes from a pad of the demuxer.
void onPad(GstElement* demuxer, GstPad* pad, gpointer data) {
  const bool video = std::string(GST_OBJECT_NAME(pad)) == "video";
  const char* description =
      video ? "queue name=in ! decodebin ! videoconvert ! video/x-raw,format=I420"
              " ! appsink name=video sync=false async=false"
            : "queue name=in ! decodebin ! audioconvert ! audioresample"
              " ! audio/x-raw,format=S16LE,channels=1,rate=48000"
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

TEST(Try, It) {
  startGstreamer();
  const auto d = decode(g_getenv("FLV"));
  printf("video %d audio %d/%.3f s first %.3f %.3f last %.3f error %s\n", d.video, d.audioBuffers,
         d.audioSamples / 48000., double(d.firstVideo) / 1e9, double(d.firstAudio) / 1e9,
         double(d.lastVideo) / 1e9, d.error.c_str());
}

}  // namespace
}  // namespace NimboEngine

// Plays a URL with GStreamer's playbin, both sinks synchronised by time stamps, and prints each
// frame when its sink releases it, see frame_report.h: the rig's result for a player that presents
// by the clock. Runs until it is terminated.
//
// Usage: reference_player URL

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include <cstdlib>

#include "frame_report.h"

namespace {

GstFlowReturn onSample(GstAppSink* sink, gpointer) {
  GstSample* sample = gst_app_sink_pull_sample(sink);
  if (!sample) return GST_FLOW_EOS;
  GstVideoInfo info;
  GstVideoFrame frame;
  if (gst_video_info_from_caps(&info, gst_sample_get_caps(sample)) &&
      gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample), GST_MAP_READ)) {
    AvBench::reportFrame({static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                          GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0), GST_VIDEO_INFO_WIDTH(&info),
                          GST_VIDEO_INFO_HEIGHT(&info)});
    gst_video_frame_unmap(&frame);
  }
  gst_sample_unref(sample);
  return GST_FLOW_OK;
}

void handle(GstMessage* message, GstElement* player) {
  if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    AvBench::reportEvent("error", error->message);
    g_error_free(error);
  } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_LATENCY) {
    gst_bin_recalculate_latency(GST_BIN(player));
  } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
    AvBench::reportEvent("event", "stopped");
  }
  gst_message_unref(message);
}

void watchFrames(GstElement* sink) {
  GstCaps* caps = gst_caps_from_string("video/x-raw,format=I420");
  g_object_set(sink, "caps", caps, "sync", TRUE, "max-buffers", 4, nullptr);
  gst_caps_unref(caps);
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = onSample;
  gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, nullptr, nullptr);
}

GstElement* makePlaybin(const char* url) {
  GstElement* player = gst_element_factory_make("playbin", nullptr);
  if (!player) return nullptr;
  GstElement* video = gst_element_factory_make("appsink", nullptr);
  watchFrames(video);
  g_object_set(player, "uri", url, "video-sink", video, "audio-sink",
               gst_element_factory_make("pulsesink", nullptr), nullptr);
  return player;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const AvBench::Termination termination;
  gst_init(nullptr, nullptr);
  GstElement* player = makePlaybin(argv[1]);
  if (!player) return 1;
  GstBus* bus = gst_element_get_bus(player);
  gst_element_set_state(player, GST_STATE_PLAYING);
  while (!termination.requested()) {
    if (GstMessage* message = gst_bus_timed_pop(bus, 100 * GST_MSECOND)) handle(message, player);
  }
  std::_Exit(0);  // an orderly exit may hang in the network
}

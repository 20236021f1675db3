#include "support/rtsp_server.h"

#include <gst/audio/audio.h>
#include <gst/rtsp-server/rtsp-server.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "gst/gst_ptr.h"

namespace NimboEngine::test {
namespace {

constexpr GstClockTime kPeriod = 500 * GST_MSECOND;
constexpr GstClockTime kLength = 20 * GST_MSECOND;  // within one frame

// Each frame is 40 ms long, so one in a period begins within kLength. Audio comes in buffers of
// 10 ms, so whole buffers are silent or not.
bool isOn(GstClockTime time) {
  return time % kPeriod < kLength;
}

GstPadProbeReturn flash(GstPad*, GstPadProbeInfo* info, gpointer) {
  if (!isOn(GST_BUFFER_PTS(GST_PAD_PROBE_INFO_BUFFER(info)))) return GST_PAD_PROBE_OK;
  GstBuffer* frame = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
  GST_PAD_PROBE_INFO_DATA(info) = frame;
  gst_buffer_memset(frame, 0, 0xEB, gst_buffer_get_size(frame) * 2 / 3);
  return GST_PAD_PROBE_OK;
}

GstPadProbeReturn silence(GstPad*, GstPadProbeInfo* info, gpointer) {
  if (isOn(GST_BUFFER_PTS(GST_PAD_PROBE_INFO_BUFFER(info)))) return GST_PAD_PROBE_OK;
  GstBuffer* samples = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
  GST_PAD_PROBE_INFO_DATA(info) = samples;
  gst_buffer_memset(samples, 0, 0, gst_buffer_get_size(samples));
  return GST_PAD_PROBE_OK;
}

void addProbe(GstElement* media, const char* source, GstPadProbeCallback probe) {
  const GstPtr<GstElement> element(gst_bin_get_by_name_recurse_up(GST_BIN(media), source));
  const GstPtr<GstPad> pad(gst_element_get_static_pad(element.get(), "src"));
  gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, probe, nullptr, nullptr);
}

void onConfigure(GstRTSPMediaFactory*, GstRTSPMedia* media, gpointer) {
  const GstPtr<GstElement> element(gst_rtsp_media_get_element(media));
  addProbe(element.get(), "flash", flash);
  addProbe(element.get(), "beep", silence);
}

GstRTSPMediaFactory* makeFactory(std::chrono::milliseconds videoDelay) {
  const std::string delay = std::to_string(std::chrono::nanoseconds(videoDelay).count());
  const std::string description =
      "( videotestsrc name=flash is-live=true pattern=black !"
      " video/x-raw,format=I420,width=64,height=48,framerate=25/1 ! jpegenc !"
      " queue ! clocksync ts-offset=" +
      delay +
      " ! rtpjpegpay name=pay0 pt=26"
      " audiotestsrc name=beep is-live=true samplesperbuffer=480 freq=1000 !"
      " audio/x-raw,format=" GST_AUDIO_NE(S16) ",rate=48000,channels=1 ! audioconvert !"
      " rtpL16pay name=pay1 pt=97 )";
  GstRTSPMediaFactory* factory = gst_rtsp_media_factory_new();
  gst_rtsp_media_factory_set_launch(factory, description.c_str());
  gst_rtsp_media_factory_set_shared(factory, TRUE);
  g_signal_connect(factory, "media-configure", G_CALLBACK(onConfigure), nullptr);
  return factory;
}

}  // namespace

struct RtspServer::Service {
  GMainContext* context = g_main_context_new();
  GMainLoop* loop = g_main_loop_new(context, FALSE);
  GstRTSPServer* server = gst_rtsp_server_new();
  GSource* source = nullptr;
  std::thread thread;

  ~Service() {
    if (thread.joinable()) {
      // Also if the loop is not running yet.
      g_main_context_invoke(
          context,
          [](gpointer running) {
            g_main_loop_quit(static_cast<GMainLoop*>(running));
            return G_SOURCE_REMOVE;
          },
          loop);
      thread.join();
    }
    if (source) {
      g_source_destroy(source);
      g_source_unref(source);
    }
    g_object_unref(server);
    g_main_loop_unref(loop);
    g_main_context_unref(context);
  }
};

RtspServer::RtspServer(std::chrono::milliseconds videoDelay)
    : service_(std::make_unique<Service>()) {
  GstRTSPServer* server = service_->server;
  gst_rtsp_server_set_address(server, "127.0.0.1");
  gst_rtsp_server_set_service(server, "0");  // any free port
  GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server);
  gst_rtsp_mount_points_add_factory(mounts, "/beat", makeFactory(videoDelay));  // takes it
  g_object_unref(mounts);
  service_->source = gst_rtsp_server_create_source(server, nullptr, nullptr);
  if (!service_->source) throw std::runtime_error("the RTSP server cannot listen");
  g_source_attach(service_->source, service_->context);
  url_ = "rtsp://127.0.0.1:" + std::to_string(gst_rtsp_server_get_bound_port(server)) + "/beat";
  service_->thread = std::thread([loop = service_->loop] { g_main_loop_run(loop); });
}

RtspServer::~RtspServer() = default;

}  // namespace NimboEngine::test

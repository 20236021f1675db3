// An RTSP server for tests at rtsp://127.0.0.1:<port>/red. Prints its port and runs until it is
// ended.
//
// Usage: rtsp_test_server [LAUNCH [tcp]]
//   LAUNCH  the pipeline for each client, in gst-launch syntax, with payloaders pay0, pay1;
//           default: a red frame of 640x360, 30 times a second, and a tone tcp     refuses to send
//           over UDP

#include <gst/rtsp-server/rtsp-server.h>

#include <cstdio>
#include <string_view>

namespace {

constexpr const char* kRedFrames =
    "( videotestsrc is-live=true pattern=red ! video/x-raw,width=640,height=360,framerate=30/1 ! "
    "x264enc tune=zerolatency speed-preset=ultrafast key-int-max=30 ! rtph264pay name=pay0 pt=96 "
    "audiotestsrc is-live=true ! avenc_aac ! rtpmp4gpay name=pay1 pt=97 )";

}  // namespace

int main(int argc, char** argv) {
  gst_init(&argc, &argv);
  GstRTSPServer* server = gst_rtsp_server_new();
  gst_rtsp_server_set_address(server, "127.0.0.1");
  gst_rtsp_server_set_service(server, "0");  // any free port
  GstRTSPMediaFactory* factory = gst_rtsp_media_factory_new();
  gst_rtsp_media_factory_set_launch(factory, argc > 1 ? argv[1] : kRedFrames);
  if (argc > 2 && std::string_view(argv[2]) == "tcp") {
    gst_rtsp_media_factory_set_protocols(factory, GST_RTSP_LOWER_TRANS_TCP);
  }
  GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server);
  gst_rtsp_mount_points_add_factory(mounts, "/red", factory);  // takes the factory
  g_object_unref(mounts);
  if (gst_rtsp_server_attach(server, nullptr) == 0) return 1;
  std::printf("%d\n", gst_rtsp_server_get_bound_port(server));
  std::fflush(stdout);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
  return 0;
}

// An RTSP server for one MP4 file of H.264 and AAC, sent to each client from its beginning, at the
// rate of its time stamps. Prints its port; the file is rtsp://127.0.0.1:<port>/clip. Runs until it
// is terminated.
//
// Usage: rtsp_file_server FILE udp|tcp [PACE], where PACE is the server's clock against the true
// one

#include <gst/rtsp-server/rtsp-server.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "frame_report.h"

namespace {

// The system's clock, running faster or slower.
GstClock* makeClock(double speed) {
  constexpr guint64 kParts = 1'000'000;
  auto* clock = GST_CLOCK(g_object_new(GST_TYPE_SYSTEM_CLOCK, "name", "paced", nullptr));
  const GstClockTime now = gst_clock_get_internal_time(clock);
  gst_clock_set_calibration(clock, now, now, static_cast<guint64>(std::llround(speed * kParts)),
                            kParts);
  return clock;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const AvBench::Termination termination;
  gst_init(nullptr, nullptr);
  const bool tcp = std::string_view(argv[2]) == "tcp";
  GstRTSPServer* server = gst_rtsp_server_new();
  gst_rtsp_server_set_address(server, "127.0.0.1");
  gst_rtsp_server_set_service(server, argc > 4 ? argv[4] : "0");  // 0: any free port
  GstRTSPMediaFactory* factory = gst_rtsp_media_factory_new();
  const std::string launch = std::string("( filesrc location=") + argv[1] +
                             " ! qtdemux name=d d. ! queue ! h264parse ! "
                             "rtph264pay name=pay0 pt=96 config-interval=-1 "
                             "d. ! queue ! aacparse ! rtpmp4gpay name=pay1 pt=97 )";
  gst_rtsp_media_factory_set_launch(factory, launch.c_str());
  gst_rtsp_media_factory_set_protocols(factory,
                                       tcp ? GST_RTSP_LOWER_TRANS_TCP : GST_RTSP_LOWER_TRANS_UDP);
  GstClock* clock = makeClock(argc > 3 ? std::stod(argv[3]) : 1);
  gst_rtsp_media_factory_set_clock(factory, clock);
  GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server);
  gst_rtsp_mount_points_add_factory(mounts, "/clip", factory);  // takes the factory
  g_object_unref(mounts);
  if (gst_rtsp_server_attach(server, nullptr) == 0) return 1;
  std::printf("%d\n", gst_rtsp_server_get_bound_port(server));
  std::fflush(stdout);
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  GThread* serving = g_thread_new(
      "serving",
      [](gpointer data) -> gpointer {
        g_main_loop_run(static_cast<GMainLoop*>(data));
        return nullptr;
      },
      loop);
  termination.wait();
  g_main_loop_quit(loop);
  g_thread_join(serving);
  g_main_loop_unref(loop);
  g_object_unref(server);
  gst_object_unref(clock);
  return 0;
}

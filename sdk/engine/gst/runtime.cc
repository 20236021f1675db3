#include "gst/runtime.h"

#include <fmt/format.h>
#include <gio/gio.h>

#include <array>

#include "base/log.h"
#include "base/process_exit.h"
#include "gst/gst_ptr.h"
#include "platform/close_on_exec.h"

namespace NimboEngine {
namespace {

constexpr auto kNeeded = std::to_array<NeededElement>({
    {"appsink", "gstreamer1.0-plugins-base"},
    {"appsrc", "gstreamer1.0-plugins-base"},
    {"audioconvert", "gstreamer1.0-plugins-base"},
    {"audioresample", "gstreamer1.0-plugins-base"},
    {"audiotestsrc", "gstreamer1.0-plugins-base"},
    {"decodebin", "gstreamer1.0-plugins-base"},
    {"uridecodebin", "gstreamer1.0-plugins-base"},
    {"videoconvert", "gstreamer1.0-plugins-base"},
    {"videoconvertscale", "gstreamer1.0-plugins-base"},
    {"videotestsrc", "gstreamer1.0-plugins-base"},
    {"timeoverlay", "gstreamer1.0-x"},
    {"aacparse", "gstreamer1.0-plugins-good"},
    {"deinterlace", "gstreamer1.0-plugins-good"},
    {"flvdemux", "gstreamer1.0-plugins-good"},
    {"flvmux", "gstreamer1.0-plugins-good"},
    {"jpegdec", "gstreamer1.0-plugins-good"},
    {"qtdemux", "gstreamer1.0-plugins-good"},
    {"rtph264depay", "gstreamer1.0-plugins-good"},
    {"rtpjitterbuffer", "gstreamer1.0-plugins-good"},
    {"rtspsrc", "gstreamer1.0-plugins-good"},
    {"v4l2src", "gstreamer1.0-plugins-good"},
    {"videocrop", "gstreamer1.0-plugins-good"},
    {"videoflip", "gstreamer1.0-plugins-good"},
    {"h264parse", "gstreamer1.0-plugins-bad"},
    {"hlsdemux", "gstreamer1.0-plugins-bad"},
    {"srtsrc", "gstreamer1.0-plugins-bad"},
    {"tsdemux", "gstreamer1.0-plugins-bad"},
    {"x264enc", "gstreamer1.0-plugins-ugly"},
    {"avdec_aac", "gstreamer1.0-libav"},
    {"avdec_h264", "gstreamer1.0-libav"},
    {"avenc_aac", "gstreamer1.0-libav"},
    {"pulsesink", "gstreamer1.0-plugins-good"},
    {"pulsesrc", "gstreamer1.0-plugins-good"},
    {"pipewiresrc", "gstreamer1.0-pipewire"},
});

// GIO creates these on first use. Its proxy resolver is not created here: it may connect to the
// session bus, and GLib ends a process whose session bus disappears.
void loadNetworking() {
  for (const GType type :
       {G_TYPE_SOCKET, G_TYPE_INET_ADDRESS, G_TYPE_INET_SOCKET_ADDRESS, G_TYPE_UNIX_SOCKET_ADDRESS,
        G_TYPE_NETWORK_ADDRESS, G_TYPE_SOCKET_CLIENT, G_TYPE_TCP_CONNECTION,
        g_tls_backend_get_client_connection_type(g_tls_backend_get_default())}) {
    g_type_class_ref(type);
  }
  g_object_unref(g_resolver_get_default());
}

// Loads an element's plug-in, and everything that its first element creates.
bool load(const char* factory) {
  return GstPtr<GstElement>(gst_element_factory_make(factory, nullptr)) != nullptr;
}

// All types are registered here, by one thread before others use them: if one thread loads a
// plug-in that registers a GIO type while another creates an object of that type, GLib's locks
// deadlock, and no pipeline starts any more.
bool start() {
  noteInheritableDescriptors();
  GError* error = nullptr;
  if (!gst_init_check(nullptr, nullptr, &error)) {
    const GstPtr<GError> owned(error);
    NIMBO_LOG_ERROR("GStreamer does not start: {}", owned ? owned->message : "unknown reason");
    return false;
  }
  loadNetworking();
  for (const auto& [factory, package] : kNeeded) {
    if (!load(factory)) {
      NIMBO_LOG_WARN("GStreamer element {} is missing; Debian package {} brings it", factory,
                     package);
    }
  }
  markNewDescriptors();
  renewExitHandler();
  return true;
}

}  // namespace

std::span<const NeededElement> neededElements() {
  return kNeeded;
}

bool startGstreamer() {
  static const bool started = start();
  return started;
}

std::string missingElements() {
  std::string text;
  for (const auto& [factory, package] : kNeeded) {
    if (haveElement(factory)) continue;
    if (!text.empty()) text += ", ";
    text += fmt::format("{} of the package {}", factory, package);
  }
  return text;
}

bool haveElement(const std::string& factory) {
  GstElementFactory* found = gst_element_factory_find(factory.c_str());
  if (found) gst_object_unref(found);
  return found != nullptr;
}

}  // namespace NimboEngine

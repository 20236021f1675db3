#include "gst/runtime.h"

#include <fmt/format.h>
#include <gio/gio.h>

#include <algorithm>
#include <array>

#include "base/log.h"
#include "base/process_exit.h"
#include "gst/gst_ptr.h"
#include "platform/close_on_exec.h"

namespace NimboEngine {
namespace {

constexpr auto kNeeded = std::to_array<NeededElement>({
#define NIMBO_ELEMENT(feature, factory, package, alternative) \
  {Feature::feature, factory, package, alternative},
    NIMBO_ELEMENT_TABLE(NIMBO_ELEMENT)
#undef NIMBO_ELEMENT
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
  return *factory && GstPtr<GstElement>(gst_element_factory_make(factory, nullptr)) != nullptr;
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
  for (const NeededElement& needed : kNeeded) {
    if (load(needed.factory) || load(needed.alternative)) continue;
    NIMBO_LOG_WARN("GStreamer element {} is missing; Debian package {} brings it", needed.factory,
                   needed.package);
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

Result<void, LumoRtc::LumoLiveErrorCode> checkElements(std::span<const Feature> features) {
  std::string missing;
  for (const NeededElement& needed : kNeeded) {
    if (std::ranges::find(features, needed.feature) == features.end()) continue;
    if (haveElement(needed.factory) || haveElement(needed.alternative)) continue;
    missing += fmt::format("{}{} (package {})", missing.empty() ? "" : ", ", needed.factory,
                           needed.package);
  }
  if (missing.empty()) return {};
  return failed(LumoRtc::kLumoLiveErrorComponentMissing, "GStreamer elements are missing: {}",
                missing);
}

bool haveElement(const std::string& factory) {
  GstElementFactory* found = gst_element_factory_find(factory.c_str());
  if (found) gst_object_unref(found);
  return found != nullptr;
}

}  // namespace NimboEngine

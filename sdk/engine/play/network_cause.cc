#include "play/network_cause.h"

#include <gio/gio.h>

#include <memory>

#include "gst/gst_ptr.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

struct GObjectRelease {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectRelease>;

struct ListRelease {
  void operator()(GList* addresses) const { g_resolver_free_addresses(addresses); }
};

LumoLiveErrorCode codeOf(const GError& error) {
  if (error.domain == G_RESOLVER_ERROR) return kLumoLiveErrorHostNotFound;
  if (error.domain == G_IO_ERROR && error.code == G_IO_ERROR_CONNECTION_REFUSED) {
    return kLumoLiveErrorConnectRefused;
  }
  return kLumoLiveErrorConnectTimeout;
}

}  // namespace

std::optional<NetworkCause> findNetworkCause(const PlayUrl& url) {
  if (url.protocol != PlayProtocol::kRtsp && url.protocol != PlayProtocol::kSrt) {
    return std::nullopt;
  }
  GError* error = nullptr;
  if (url.protocol == PlayProtocol::kSrt) {  // over UDP only name resolution can be tested
    const GObjectPtr<GResolver> resolver(g_resolver_get_default());
    const std::unique_ptr<GList, ListRelease> addresses(
        g_resolver_lookup_by_name(resolver.get(), url.host.c_str(), nullptr, &error));
  } else {
    const GObjectPtr<GSocketClient> client(g_socket_client_new());
    g_socket_client_set_timeout(client.get(), kNetworkCauseTimeout.count());
    const GObjectPtr<GSocketConnection> connection(g_socket_client_connect_to_host(
        client.get(), url.host.c_str(), static_cast<guint16>(url.port), nullptr, &error));
  }
  if (!error) return std::nullopt;
  const GstPtr<GError> owned(error);
  return NetworkCause{codeOf(*error), error->message};
}

}  // namespace NimboEngine

#include "play/source_sockets.h"

#include <algorithm>
#include <utility>

#include "platform/tcp_socket.h"
#include "play/local_address.h"

namespace NimboEngine {
namespace {

thread_local std::weak_ptr<SourceSockets> owner;

}  // namespace

SourceSockets::SourceSockets(std::function<void(const std::string&)> onRefused)
    : onRefused_(std::move(onRefused)) {
  [[maybe_unused]] static const gulong hook = [] {
    g_type_class_ref(G_TYPE_SOCKET_CLIENT);  // never released: the signal belongs to the class
    return g_signal_add_emission_hook(g_signal_lookup("event", G_TYPE_SOCKET_CLIENT), 0,
                                      &SourceSockets::onEvent, nullptr, nullptr);
  }();
}

void SourceSockets::adoptThread() {
  owner = weak_from_this();
}

gboolean SourceSockets::onEvent(GSignalInvocationHint*, guint, const GValue* values, gpointer) {
  constexpr int kEvent = 1;
  constexpr int kConnection = 3;
  if (g_value_get_enum(&values[kEvent]) != G_SOCKET_CLIENT_CONNECTING) return TRUE;
  const auto sockets = owner.lock();
  gpointer connection = g_value_get_object(&values[kConnection]);
  if (sockets && G_IS_SOCKET_CONNECTION(connection)) {
    sockets->onConnecting(G_SOCKET_CONNECTION(connection));
  }
  return TRUE;  // the hook stays
}

void SourceSockets::onConnecting(GSocketConnection* connection) {
  GSocket* socket = g_socket_connection_get_socket(connection);
  Result<void> allowed;
  {
    const MutexLock lock(mutex_);
    std::erase_if(sockets_, [](const auto& known) { return g_socket_is_closed(known.get()); });
    sockets_.emplace_back(G_SOCKET(g_object_ref(socket)));
    allowed = check(connection);
    if (cut_ || !allowed) g_socket_close(socket, nullptr);
    if (allowed || std::exchange(refused_, true)) return;
  }
  onRefused_(allowed.error().text);
}

// Fails unless the connection is allowed.
Result<void> SourceSockets::check(GSocketConnection* connection) {
  const bool first = connections_++ == 0;
  if (connections_ > kMaxConnections) return refused("the server redirects without end");
  const GlibPtr<GSocketAddress> target(g_socket_connection_get_remote_address(connection, nullptr));
  if (!target || !G_IS_INET_SOCKET_ADDRESS(target.get())) return {};
  GInetAddress* address = g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(target.get()));
  const bool local = isLocalAddress(address);
  if (first) beganPublic_ = !local;
  if (!local || !beganPublic_) return {};
  const GlibPtr<gchar> text(g_inet_address_to_string(address));
  return refused("the server redirects to {}, an address of the local network", text.get());
}

void SourceSockets::cut() {
  const MutexLock lock(mutex_);
  cut_ = true;
  for (const auto& socket : sockets_) g_socket_shutdown(socket.get(), TRUE, TRUE, nullptr);
}

uint64_t SourceSockets::receivedBytes() const {
  const MutexLock lock(mutex_);
  uint64_t sum = 0;
  for (const auto& socket : sockets_) {
    sum += receivedTcpBytes(g_socket_get_fd(socket.get()));
  }
  return sum;
}

DelayedCut::DelayedCut(std::shared_ptr<SourceSockets> sockets, std::chrono::milliseconds delay)
    : thread_([this, sockets = std::move(sockets), delay] {
        MutexLock lock(mutex_);
        if (!changed_.wait_for(lock, delay, [this]() NIMBO_REQUIRES(mutex_) { return over_; }))
          sockets->cut();
      }) {}

DelayedCut::~DelayedCut() {
  {
    const MutexLock lock(mutex_);
    over_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

}  // namespace NimboEngine

#include "net/tcp_connect.h"

#include <poll.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "net/async_call.h"
#include "net/gio_error.h"
#include "platform/tcp_socket.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;
using Addresses = std::vector<GlibPtr<GInetAddress>>;

// The delay that RFC 8305 recommends.
constexpr std::chrono::milliseconds kAttemptDelay{250};
// A quarter of a second at 2 Mbit/s. With the system's default of several megabytes a frozen server
// would go unnoticed: the buffer absorbs the stream for minutes.
constexpr int kSendBufferBytes = 64 * 1024;
// How long sent data may stay unacknowledged. 6 s has cut links that were merely slow.
constexpr std::chrono::milliseconds kUnacknowledgedTimeout{10'000};

// Alternates the address families, beginning with that of the first address.
Addresses interleaved(Addresses addresses) {
  if (addresses.empty()) return addresses;
  const GSocketFamily family = g_inet_address_get_family(addresses.front().get());
  Addresses others;
  Addresses same;
  for (auto& address : addresses) {
    const bool matches = g_inet_address_get_family(address.get()) == family;
    (matches ? same : others).push_back(std::move(address));
  }
  Addresses mixed;
  for (std::size_t i = 0; i < std::max(same.size(), others.size()); ++i) {
    if (i < same.size()) mixed.push_back(std::move(same[i]));
    if (i < others.size()) mixed.push_back(std::move(others[i]));
  }
  return mixed;
}

Result<Addresses, ConnectionError> resolve(const std::string& host, StopSignal& stop,
                                           Clock::time_point deadline) {
  const GlibPtr<GResolver> resolver(g_resolver_get_default());
  AsyncCall call(stop.cancellable(), deadline);
  g_resolver_lookup_by_name_async(resolver.get(), host.c_str(), stop.cancellable(),
                                  &AsyncCall::onDone, &call);
  GError* error = nullptr;
  GList* found = g_resolver_lookup_by_name_finish(resolver.get(), call.wait(), &error);
  const GlibPtr<GError> owned(error);
  if (error) {
    if (call.timedOut()) {
      return failed(ConnectionError::kTimeout, "no address of {} in time", host);
    }
    return tl::unexpected(failureOf(*error));
  }
  Addresses addresses;
  for (GList* entry = found; entry; entry = entry->next) {
    addresses.emplace_back(G_INET_ADDRESS(entry->data));  // takes the reference
  }
  g_list_free(found);
  return interleaved(std::move(addresses));
}

void setOptions(GSocket* socket) {
  g_socket_set_blocking(socket, FALSE);
  setTcpSendOptions(g_socket_get_fd(socket),
                    {.bufferBytes = kSendBufferBytes, .unacknowledged = kUnacknowledgedTimeout});
}

// The attempts in progress.
class Attempts {
 public:
  // Returns the socket if it is connected immediately.
  GlibPtr<GSocket> begin(GInetAddress* address, int port) {
    GError* error = nullptr;
    GlibPtr<GSocket> socket(g_socket_new(g_inet_address_get_family(address), G_SOCKET_TYPE_STREAM,
                                         G_SOCKET_PROTOCOL_TCP, &error));
    if (!socket) return fail(error);
    setOptions(socket.get());
    const GlibPtr<GSocketAddress> target(
        g_inet_socket_address_new(address, static_cast<guint16>(port)));
    if (g_socket_connect(socket.get(), target.get(), nullptr, &error)) return socket;
    if (!g_error_matches(error, G_IO_ERROR, G_IO_ERROR_PENDING)) return fail(error);
    g_error_free(error);
    sockets_.push_back(std::move(socket));
    return nullptr;
  }

  // Waits until an attempt has ended, until `stop` or for `timeout`. Returns the connected socket,
  // if any.
  GlibPtr<GSocket> wait(const StopSignal& stop, std::chrono::milliseconds timeout) {
    std::vector<pollfd> polled = {{stop.descriptor(), POLLIN, 0}};
    for (const auto& socket : sockets_)
      polled.push_back({g_socket_get_fd(socket.get()), POLLOUT, 0});
    poll(polled.data(), polled.size(), static_cast<int>(timeout.count()));
    for (std::size_t i = sockets_.size(); i-- > 0;) {
      if (polled[i + 1].revents == 0) continue;
      GlibPtr<GSocket> socket = std::move(sockets_[i]);
      sockets_.erase(sockets_.begin() + static_cast<std::ptrdiff_t>(i));
      GError* error = nullptr;
      if (g_socket_check_connect_result(socket.get(), &error)) return socket;
      fail(error);
    }
    return nullptr;
  }

  bool areUnderWay() const { return !sockets_.empty(); }
  const std::optional<ConnectionFailure>& failure() const { return failure_; }

 private:
  GlibPtr<GSocket> fail(GError* error) {
    failure_ = failureOf(*error);
    g_error_free(error);
    return nullptr;
  }

  std::vector<GlibPtr<GSocket>> sockets_;
  std::optional<ConnectionFailure> failure_;  // the last
};

}  // namespace

Result<GlibPtr<GSocket>, ConnectionError> connectTcp(const std::string& host, int port,
                                                     StopSignal& stop, Clock::time_point deadline,
                                                     const AddressFilter& filter) {
  auto resolved = resolve(host, stop, deadline);
  if (!resolved) return tl::unexpected(resolved.error());
  Addresses& addresses = *resolved;
  if (filter) {
    std::erase_if(addresses, [&](const auto& address) { return !filter(address.get()); });
  }

  Attempts attempts;
  auto next = addresses.begin();
  Clock::time_point nextDue = Clock::now();
  while (!stop.isStopped()) {
    const auto now = Clock::now();
    if (now >= deadline) {
      return failed(ConnectionError::kTimeout, "no connection to {}:{} in time", host, port);
    }
    if (next != addresses.end() && (now >= nextDue || !attempts.areUnderWay())) {
      if (auto socket = attempts.begin((next++)->get(), port)) return socket;
      nextDue = now + kAttemptDelay;
      continue;
    }
    if (!attempts.areUnderWay()) break;
    const auto until = next == addresses.end() ? deadline : std::min(deadline, nextDue);
    if (auto socket =
            attempts.wait(stop, std::chrono::ceil<std::chrono::milliseconds>(until - now))) {
      return socket;
    }
  }
  if (attempts.failure()) return tl::unexpected(*attempts.failure());
  return failed(ConnectionError::kHostNotFound, "{} has no address", host);
}

}  // namespace NimboEngine

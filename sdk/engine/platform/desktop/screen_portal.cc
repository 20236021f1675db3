#include "platform/desktop/screen_portal.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Failure = ScreenPortal::Failure;

constexpr char kPortal[] = "org.freedesktop.portal.Desktop";
constexpr char kPath[] = "/org/freedesktop/portal/desktop";
constexpr char kScreenCast[] = "org.freedesktop.portal.ScreenCast";
constexpr uint32_t kMonitorsAndWindows = 1 | 2;
constexpr uint32_t kPointerInFrame = 2;

// Result codes of a request's signal.
constexpr uint32_t kDone = 0;
constexpr uint32_t kCancelledByUser = 1;

constexpr auto kPollInterval = 50ms;  // how often a wait checks for cancellation

// Makes a context the thread's default: signals arrive in the default context at the time of
// subscription.
class ContextOfThread {
 public:
  explicit ContextOfThread(GMainContext* context) : context_(context) {
    g_main_context_push_thread_default(context_);
  }
  ~ContextOfThread() { g_main_context_pop_thread_default(context_); }
  ContextOfThread(const ContextOfThread&) = delete;
  ContextOfThread& operator=(const ContextOfThread&) = delete;

 private:
  GMainContext* const context_;
};

// Returns the address of the session bus; none is started.
std::string busAddress() {
  if (const char* address = g_getenv("DBUS_SESSION_BUS_ADDRESS")) return address;
  const char* folder = g_getenv("XDG_RUNTIME_DIR");
  return folder ? fmt::format("unix:path={}/bus", folder) : "";
}

std::string textOf(GError* failure) {
  const GlibPtr<GError> owned(failure);
  return owned ? owned->message : "unknown reason";
}

Result<GlibPtr<GDBusConnection>, Failure> connectToBus(GCancellable* cancelled) {
  const std::string address = busAddress();
  if (address.empty()) return failed(Failure::kFailed, "there is no session bus");
  GError* failure = nullptr;
  GlibPtr<GDBusConnection> connection(g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, cancelled, &failure));
  if (connection) return connection;
  return failed(Failure::kFailed, "the session bus cannot be reached: {}", textOf(failure));
}

// Returns a numeric property of the portal.
std::optional<uint32_t> property(GDBusConnection* connection, const char* name,
                                 std::chrono::milliseconds timeout, GCancellable* cancelled) {
  const GlibPtr<GVariant> reply(g_dbus_connection_call_sync(
      connection, kPortal, kPath, "org.freedesktop.DBus.Properties", "Get",
      g_variant_new("(ss)", kScreenCast, name), G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE,
      static_cast<gint>(timeout.count()), cancelled, nullptr));
  if (!reply) return std::nullopt;
  GVariant* boxed = nullptr;
  g_variant_get(reply.get(), "(v)", &boxed);
  const GlibPtr<GVariant> value(boxed);
  if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_UINT32)) return std::nullopt;
  return g_variant_get_uint32(value.get());
}

// The handler of all signals here, whose receivers differ in `data`.
template <class Receiver>
guint subscribe(GDBusConnection* connection, const char* interface, const char* signal,
                const std::string& path, Receiver* receiver,
                void (*onSignal)(Receiver&, GVariant* parameters)) {
  struct Call {
    Receiver* receiver;
    void (*onSignal)(Receiver&, GVariant*);
  };
  return g_dbus_connection_signal_subscribe(
      connection, kPortal, interface, signal, path.c_str(), nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
         GVariant* parameters, gpointer data) {
        const auto& call = *static_cast<Call*>(data);
        call.onSignal(*call.receiver, parameters);
      },
      std::make_unique<Call>(Call{receiver, onSignal}).release(),
      [](gpointer data) { std::unique_ptr<Call>(static_cast<Call*>(data)).reset(); });
}

}  // namespace

bool ScreenPortal::isThere() {
  const auto connection = connectToBus(nullptr);
  return connection && property(connection->get(), "version", 1000ms, nullptr);
}

ScreenPortal::ScreenPortal(GCancellable* cancelled, const Timeouts& timeouts)
    : cancelled_(cancelled), timeouts_(timeouts), context_(g_main_context_new()) {}

ScreenPortal::~ScreenPortal() {
  if (remote_ >= 0) close(remote_);
  if (!connection_) return;
  if (closedSubscription_ != 0) {
    g_dbus_connection_signal_unsubscribe(connection_.get(), closedSubscription_);
  }
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
  while (g_main_context_iteration(context_.get(), FALSE)) {
    // Frees the removed subscriptions.
  }
}

ScreenPortal::Answer ScreenPortal::ask() {
  const ContextOfThread own(context_.get());
  for (const auto step :
       {&ScreenPortal::connect, &ScreenPortal::createSession, &ScreenPortal::selectSources,
        &ScreenPortal::start, &ScreenPortal::openRemote}) {
    if (Answer answer = (this->*step)(); !answer) return answer;
  }
  return {};
}

bool ScreenPortal::isShared() {
  while (g_main_context_iteration(context_.get(), FALSE)) {
    // The signal that the session has closed may be among the events.
  }
  return !closed_ && !g_dbus_connection_is_closed(connection_.get());
}

// --------------------------------------------------------------------------------------- the steps

ScreenPortal::Answer ScreenPortal::connect() {
  auto connection = connectToBus(cancelled_);
  if (!connection) return tl::unexpected(connection.error());
  connection_ = std::move(*connection);
  return {};
}

ScreenPortal::Answer ScreenPortal::createSession() {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "session_handle_token", g_variant_new_string("nimbo"));
  const auto results = request("CreateSession", {}, options, timeouts_.portal);
  if (!results) return tl::unexpected(results.error());
  const GlibPtr<GVariant> handle(g_variant_lookup_value(results->get(), "session_handle", nullptr));
  if (!handle || !g_variant_is_object_path(g_variant_get_string(handle.get(), nullptr))) {
    return failed(Failure::kFailed, "the portal names no session");
  }
  session_ = g_variant_get_string(handle.get(), nullptr);
  closedSubscription_ =
      subscribe<bool>(connection_.get(), "org.freedesktop.portal.Session", "Closed", session_,
                      &closed_, [](bool& closed, GVariant*) { closed = true; });
  return {};
}

ScreenPortal::Answer ScreenPortal::selectSources() {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "types", g_variant_new_uint32(kMonitorsAndWindows));
  if (canShowPointer()) {
    g_variant_builder_add(&options, "{sv}", "cursor_mode", g_variant_new_uint32(kPointerInFrame));
  }
  const auto results = request("SelectSources", {g_variant_new_object_path(session_.c_str())},
                               options, timeouts_.portal);
  if (!results) return tl::unexpected(results.error());
  return {};
}

bool ScreenPortal::canShowPointer() {
  const auto modes =
      property(connection_.get(), "AvailableCursorModes", timeouts_.portal, cancelled_);
  return modes && (*modes & kPointerInFrame) != 0;
}

ScreenPortal::Answer ScreenPortal::start() {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  const auto results =
      request("Start", {g_variant_new_object_path(session_.c_str()), g_variant_new_string("")},
              options, timeouts_.user);
  if (!results) return tl::unexpected(results.error());
  GVariantIter* streams = nullptr;
  if (g_variant_lookup(results->get(), "streams", "a(ua{sv})", &streams)) {
    const bool any = g_variant_iter_next(streams, "(u@a{sv})", &node_, nullptr) != FALSE;
    g_variant_iter_free(streams);
    if (any) return {};
  }
  return failed(Failure::kFailed, "the portal names no stream");
}

ScreenPortal::Answer ScreenPortal::openRemote() {
  GError* failure = nullptr;
  GUnixFDList* list = nullptr;
  const GlibPtr<GVariant> reply(g_dbus_connection_call_with_unix_fd_list_sync(
      connection_.get(), kPortal, kPath, kScreenCast, "OpenPipeWireRemote",
      g_variant_new("(oa{sv})", session_.c_str(), nullptr), G_VARIANT_TYPE("(h)"),
      G_DBUS_CALL_FLAGS_NONE, static_cast<gint>(timeouts_.portal.count()), nullptr, &list,
      cancelled_, &failure));
  const GlibPtr<GUnixFDList> descriptors(list);
  if (!reply) {
    return failed(Failure::kFailed, "the portal does not open PipeWire: {}", textOf(failure));
  }
  gint32 index = 0;
  g_variant_get(reply.get(), "(h)", &index);
  remote_ = descriptors ? g_unix_fd_list_get(descriptors.get(), index, nullptr) : -1;
  if (remote_ >= 0) return {};
  return failed(Failure::kFailed, "the portal opens PipeWire without a descriptor");
}

// ------------------------------------------------------------------------------------ one request

Result<GlibPtr<GVariant>, Failure> ScreenPortal::request(const char* method,
                                                         std::vector<GVariant*> arguments,
                                                         GVariantBuilder& options,
                                                         std::chrono::milliseconds timeout) {
  Response response;
  const std::string token = fmt::format("nimbo{}", ++requests_);
  g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
  arguments.push_back(g_variant_builder_end(&options));
  // The request's path is computed beforehand, so that its signal is not missed.
  std::string sender = g_dbus_connection_get_unique_name(connection_.get()) + 1;  // without ":"
  std::replace(sender.begin(), sender.end(), '.', '_');
  const guint subscription =
      subscribe<Response>(connection_.get(), "org.freedesktop.portal.Request", "Response",
                          fmt::format("{}/request/{}/{}", kPath, sender, token), &response,
                          [](Response& received, GVariant* parameters) {
                            if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})")))
                              return;
                            GVariant* results = nullptr;
                            g_variant_get(parameters, "(u@a{sv})", &received.code, &results);
                            received.results.reset(results);
                            received.arrived = true;
                          });
  const Answer called = call(method, g_variant_new_tuple(arguments.data(), arguments.size()));
  const bool answered = called && wait(response, timeout);
  g_dbus_connection_signal_unsubscribe(connection_.get(), subscription);
  if (!called) return tl::unexpected(called.error());
  if (answered && response.code == kDone) return std::move(response.results);
  if (answered && response.code == kCancelledByUser) {
    return failed(Failure::kRefused, "the user does not want to share the screen");
  }
  return failed(Failure::kFailed, "the portal {} {}", answered ? "refuses" : "does not answer",
                method);
}

ScreenPortal::Answer ScreenPortal::call(const char* method, GVariant* arguments) {
  GError* failure = nullptr;
  const GlibPtr<GVariant> reply(g_dbus_connection_call_sync(
      connection_.get(), kPortal, kPath, kScreenCast, method, arguments, G_VARIANT_TYPE("(o)"),
      G_DBUS_CALL_FLAGS_NONE, static_cast<gint>(timeouts_.portal.count()), cancelled_, &failure));
  if (reply) return {};
  return failed(Failure::kFailed, "the portal fails at {}: {}", method, textOf(failure));
}

// Returns false if it is cancelled, the bus connection breaks or the timeout expires.
bool ScreenPortal::wait(const Response& response, std::chrono::milliseconds timeout) {
  const auto end = Clock::now() + timeout;
  GSource* poll = g_timeout_source_new(kPollInterval.count());
  g_source_set_callback(
      poll, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
  g_source_attach(poll, context_.get());
  while (!response.arrived && Clock::now() < end && !g_cancellable_is_cancelled(cancelled_) &&
         !g_dbus_connection_is_closed(connection_.get())) {
    g_main_context_iteration(context_.get(), TRUE);
  }
  g_source_destroy(poll);
  g_source_unref(poll);
  return response.arrived;
}

}  // namespace NimboEngine

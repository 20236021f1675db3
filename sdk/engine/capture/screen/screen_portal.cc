#include "capture/screen/screen_portal.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

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

GlibPtr<GDBusConnection> connectToBus(GCancellable* cancelled, std::string& error) {
  const std::string address = busAddress();
  if (address.empty()) {
    error = "there is no session bus";
    return nullptr;
  }
  GError* failure = nullptr;
  GlibPtr<GDBusConnection> connection(g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, cancelled, &failure));
  if (!connection) error = fmt::format("the session bus cannot be reached: {}", textOf(failure));
  return connection;
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
  std::string error;
  const auto connection = connectToBus(nullptr, error);
  return connection && property(connection.get(), "version", 1000ms, nullptr);
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

ScreenPortal::Answer ScreenPortal::ask(std::string& error) {
  const ContextOfThread own(context_.get());
  if (!connect(error)) return Answer::kFailed;
  for (const auto step : {&ScreenPortal::createSession, &ScreenPortal::selectSources,
                          &ScreenPortal::start, &ScreenPortal::openRemote}) {
    const Answer answer = (this->*step)(error);
    if (answer != Answer::kShared) return answer;
  }
  return Answer::kShared;
}

bool ScreenPortal::isShared() {
  while (g_main_context_iteration(context_.get(), FALSE)) {
    // The signal that the session has closed may be among the events.
  }
  return !closed_ && !g_dbus_connection_is_closed(connection_.get());
}

bool ScreenPortal::connect(std::string& error) {
  connection_ = connectToBus(cancelled_, error);
  return connection_ != nullptr;
}

// --------------------------------------------------------------------------------------- the steps

ScreenPortal::Answer ScreenPortal::createSession(std::string& error) {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "session_handle_token", g_variant_new_string("nimbo"));
  Response response;
  const Answer answer = request("CreateSession", {}, options, timeouts_.portal, response, error);
  if (answer != Answer::kShared) return answer;
  const GlibPtr<GVariant> handle(
      g_variant_lookup_value(response.results.get(), "session_handle", nullptr));
  if (!handle || !g_variant_is_object_path(g_variant_get_string(handle.get(), nullptr))) {
    error = "the portal names no session";
    return Answer::kFailed;
  }
  session_ = g_variant_get_string(handle.get(), nullptr);
  closedSubscription_ =
      subscribe<bool>(connection_.get(), "org.freedesktop.portal.Session", "Closed", session_,
                      &closed_, [](bool& closed, GVariant*) { closed = true; });
  return Answer::kShared;
}

ScreenPortal::Answer ScreenPortal::selectSources(std::string& error) {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "types", g_variant_new_uint32(kMonitorsAndWindows));
  if (canShowPointer()) {
    g_variant_builder_add(&options, "{sv}", "cursor_mode", g_variant_new_uint32(kPointerInFrame));
  }
  Response response;
  return request("SelectSources", {g_variant_new_object_path(session_.c_str())}, options,
                 timeouts_.portal, response, error);
}

bool ScreenPortal::canShowPointer() {
  const auto modes =
      property(connection_.get(), "AvailableCursorModes", timeouts_.portal, cancelled_);
  return modes && (*modes & kPointerInFrame) != 0;
}

ScreenPortal::Answer ScreenPortal::start(std::string& error) {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  Response response;
  const Answer answer =
      request("Start", {g_variant_new_object_path(session_.c_str()), g_variant_new_string("")},
              options, timeouts_.user, response, error);
  if (answer != Answer::kShared) return answer;
  GVariantIter* streams = nullptr;
  if (g_variant_lookup(response.results.get(), "streams", "a(ua{sv})", &streams)) {
    const bool any = g_variant_iter_next(streams, "(u@a{sv})", &node_, nullptr) != FALSE;
    g_variant_iter_free(streams);
    if (any) return Answer::kShared;
  }
  error = "the portal names no stream";
  return Answer::kFailed;
}

ScreenPortal::Answer ScreenPortal::openRemote(std::string& error) {
  GError* failure = nullptr;
  GUnixFDList* list = nullptr;
  const GlibPtr<GVariant> reply(g_dbus_connection_call_with_unix_fd_list_sync(
      connection_.get(), kPortal, kPath, kScreenCast, "OpenPipeWireRemote",
      g_variant_new("(oa{sv})", session_.c_str(), nullptr), G_VARIANT_TYPE("(h)"),
      G_DBUS_CALL_FLAGS_NONE, static_cast<gint>(timeouts_.portal.count()), nullptr, &list,
      cancelled_, &failure));
  const GlibPtr<GUnixFDList> descriptors(list);
  if (!reply) {
    error = fmt::format("the portal does not open PipeWire: {}", textOf(failure));
    return Answer::kFailed;
  }
  gint32 index = 0;
  g_variant_get(reply.get(), "(h)", &index);
  remote_ = descriptors ? g_unix_fd_list_get(descriptors.get(), index, nullptr) : -1;
  if (remote_ >= 0) return Answer::kShared;
  error = "the portal opens PipeWire without a descriptor";
  return Answer::kFailed;
}

// -------------------------------------------------------------------------------------- one
// request

// kShared: it has completed, and `response` holds the results.
ScreenPortal::Answer ScreenPortal::request(const char* method, std::vector<GVariant*> arguments,
                                           GVariantBuilder& options,
                                           std::chrono::milliseconds timeout, Response& response,
                                           std::string& error) {
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
  const bool called = call(method, g_variant_new_tuple(arguments.data(), arguments.size()), error);
  const bool answered = called && wait(response, timeout);
  g_dbus_connection_signal_unsubscribe(connection_.get(), subscription);
  if (!called) return Answer::kFailed;
  if (answered && response.code == kDone) return Answer::kShared;
  if (answered && response.code == kCancelledByUser) {
    error = "the user does not want to share the screen";
    return Answer::kRefused;
  }
  error = fmt::format("the portal {} {}", answered ? "refuses" : "does not answer", method);
  return Answer::kFailed;
}

bool ScreenPortal::call(const char* method, GVariant* arguments, std::string& error) {
  GError* failure = nullptr;
  const GlibPtr<GVariant> reply(g_dbus_connection_call_sync(
      connection_.get(), kPortal, kPath, kScreenCast, method, arguments, G_VARIANT_TYPE("(o)"),
      G_DBUS_CALL_FLAGS_NONE, static_cast<gint>(timeouts_.portal.count()), cancelled_, &failure));
  if (!reply) error = fmt::format("the portal fails at {}: {}", method, textOf(failure));
  return reply != nullptr;
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

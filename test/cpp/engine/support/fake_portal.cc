#include "support/fake_portal.h"

#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace NimboEngine::test {
namespace {

constexpr char kName[] = "org.freedesktop.portal.Desktop";
constexpr char kPath[] = "/org/freedesktop/portal/desktop";
constexpr char kInterfaces[] = R"(
<node>
  <interface name="org.freedesktop.portal.ScreenCast">
    <method name="CreateSession">
      <arg type="a{sv}" direction="in"/><arg type="o" direction="out"/>
    </method>
    <method name="SelectSources">
      <arg type="o" direction="in"/><arg type="a{sv}" direction="in"/>
      <arg type="o" direction="out"/>
    </method>
    <method name="Start">
      <arg type="o" direction="in"/><arg type="s" direction="in"/>
      <arg type="a{sv}" direction="in"/><arg type="o" direction="out"/>
    </method>
    <method name="OpenPipeWireRemote">
      <arg type="o" direction="in"/><arg type="a{sv}" direction="in"/>
      <arg type="h" direction="out"/>
    </method>
    <property name="version" type="u" access="read"/>
    <property name="AvailableCursorModes" type="u" access="read"/>
  </interface>
</node>)";

void fail(GDBusMethodInvocation* invocation) {
  g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.portal.Error.Failed",
                                             "not today");
}

std::string textIn(GVariant* options, const char* key) {
  const char* text = "";
  g_variant_lookup(options, key, "&s", &text);
  return text;
}

// The path of a request or session, as portals make it.
std::string handle(const char* kind, std::string sender, const std::string& token) {
  std::replace(sender.begin(), sender.end(), '.', '_');
  return std::string(kPath) + "/" + kind + "/" + sender.substr(1) + "/" + token;
}

}  // namespace

FakePortal::FakePortal(Answers answers)
    : answers_(std::move(answers)),
      context_(g_main_context_new()),
      loop_(g_main_loop_new(context_, FALSE)) {
  g_main_context_push_thread_default(context_);
  connection_ = g_dbus_connection_new_for_address_sync(
      g_getenv("DBUS_SESSION_BUS_ADDRESS"),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr);
  if (!connection_) throw std::runtime_error("the fake portal finds no bus");
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kInterfaces, nullptr);
  static const GDBusInterfaceVTable table{&onCall, &onProperty, nullptr, {}};
  g_dbus_connection_register_object(connection_, kPath, node->interfaces[0], &table, this, nullptr,
                                    nullptr);
  g_dbus_node_info_unref(node);
  const GlibPtr<GVariant> owned(g_dbus_connection_call_sync(
      connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "RequestName", g_variant_new("(su)", kName, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
      nullptr));
  g_main_context_pop_thread_default(context_);
  thread_ = std::thread([this] { serve(); });
}

FakePortal::~FakePortal() {
  g_main_loop_quit(loop_);
  thread_.join();
  if (watched_ != 0) g_bus_unwatch_name(watched_);
  g_dbus_connection_close_sync(connection_, nullptr, nullptr);
  g_object_unref(connection_);
  while (g_main_context_iteration(context_, FALSE)) {
  }
  g_main_loop_unref(loop_);
  g_main_context_unref(context_);
}

void FakePortal::serve() {
  g_main_context_push_thread_default(context_);
  g_main_loop_run(loop_);
  g_main_context_pop_thread_default(context_);
}

void FakePortal::endSession() {
  emit(session_, "org.freedesktop.portal.Session", "Closed", nullptr);
}

void FakePortal::onCall(GDBusConnection*, const gchar* sender, const gchar*, const gchar*,
                        const gchar* method, GVariant* arguments, GDBusMethodInvocation* invocation,
                        gpointer self) {
  static_cast<FakePortal*>(self)->answer(sender, method, arguments, invocation);
}

GVariant* FakePortal::onProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                 const gchar* name, GError**, gpointer self) {
  const bool isVersion = std::string("version") == name;
  return g_variant_new_uint32(isVersion ? 4 : static_cast<FakePortal*>(self)->answers_.cursorModes);
}

void FakePortal::answer(const std::string& sender, const std::string& method, GVariant* arguments,
                        GDBusMethodInvocation* invocation) {
  const GlibPtr<GVariant> options(
      g_variant_get_child_value(arguments, g_variant_n_children(arguments) - 1));
  GVariantBuilder results;
  g_variant_builder_init(&results, G_VARIANT_TYPE_VARDICT);
  uint32_t code = 0;
  std::string call = method;
  if (method == "CreateSession") {
    code = answers_.createSession;
    session_ = handle("session", sender, textIn(options.get(), "session_handle_token"));
    g_variant_builder_add(&results, "{sv}", "session_handle",
                          g_variant_new_string(session_.c_str()));
    watch(sender);
  } else if (method == "SelectSources") {
    code = answers_.selectSources;
    for (const char* key : {"types", "cursor_mode"}) {
      uint32_t number = 0;
      if (!g_variant_lookup(options.get(), key, "u", &number)) continue;
      call += " " + std::string(key) + "=" + std::to_string(number);
    }
  } else if (method == "Start") {
    code = answers_.start;
    GVariantBuilder streams;
    g_variant_builder_init(&streams, G_VARIANT_TYPE("a(ua{sv})"));
    if (answers_.hasStream) g_variant_builder_add(&streams, "(ua{sv})", answers_.node, nullptr);
    g_variant_builder_add(&results, "{sv}", "streams", g_variant_builder_end(&streams));
  }
  const GlibPtr<GVariant> response(
      g_variant_ref_sink(g_variant_new("(u@a{sv})", code, g_variant_builder_end(&results))));
  calls.add(call);
  if (method == "OpenPipeWireRemote") return openRemote(invocation);
  if (code == kRefuses) return fail(invocation);
  const std::string request = handle("request", sender, textIn(options.get(), "handle_token"));
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", request.c_str()));
  if (code == kSilent) return;
  emit(request, "org.freedesktop.portal.Request", "Response", response.get());
}

void FakePortal::openRemote(GDBusMethodInvocation* invocation) {
  if (!answers_.openRemote) return fail(invocation);
  const GlibPtr<GUnixFDList> list(g_unix_fd_list_new());
  const int descriptor = answers_.openRemote();
  g_unix_fd_list_append(list.get(), descriptor, nullptr);
  close(descriptor);
  g_dbus_method_invocation_return_value_with_unix_fd_list(invocation, g_variant_new("(h)", 0),
                                                          list.get());
}

void FakePortal::watch(const std::string& sender) {
  watched_ = g_bus_watch_name_on_connection(
      connection_, sender.c_str(), G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
      [](GDBusConnection*, const gchar*, gpointer self) {
        static_cast<FakePortal*>(self)->calls.add("gone");
      },
      this, nullptr);
}

void FakePortal::emit(const std::string& path, const char* interface, const char* signal,
                      GVariant* with) {
  g_dbus_connection_emit_signal(connection_, nullptr, path.c_str(), interface, signal, with,
                                nullptr);
}

}  // namespace NimboEngine::test

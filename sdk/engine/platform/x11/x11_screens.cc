#include "platform/x11/x11_screens.h"

#include <fmt/format.h>
#include <glib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "gst/gst_ptr.h"
#include "platform/x11/screen_monitors.h"

namespace NimboEngine {
namespace {

// In units of four bytes, as in property requests: longer names and lists are cut.
constexpr uint32_t kNameLimit = 256;
constexpr uint32_t kListLimit = 4096;

struct Atoms {
  xcb_atom_t clientList = XCB_ATOM_NONE;
  xcb_atom_t name = XCB_ATOM_NONE;  // in UTF-8
};

xcb_atom_t answer(xcb_connection_t* connection, xcb_intern_atom_cookie_t cookie) {
  const XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

Atoms internAtoms(xcb_connection_t* connection) {
  constexpr std::string_view kList = "_NET_CLIENT_LIST";
  constexpr std::string_view kName = "_NET_WM_NAME";
  const auto list = xcb_intern_atom(connection, 0, kList.size(), kList.data());
  const auto name = xcb_intern_atom(connection, 0, kName.size(), kName.data());
  return {answer(connection, list), answer(connection, name)};
}

std::vector<xcb_window_t> topLevelWindows(const XDisplay& display, xcb_atom_t clientList) {
  xcb_connection_t* connection = display.connection.get();
  const xcb_window_t root = display.screen->root;
  const XReply<xcb_get_property_reply_t> managed(xcb_get_property_reply(
      connection, xcb_get_property(connection, 0, root, clientList, XCB_ATOM_WINDOW, 0, kListLimit),
      nullptr));
  if (managed && managed->format == 32) {
    const auto* first = static_cast<xcb_window_t*>(xcb_get_property_value(managed.get()));
    return {first, first + managed->value_len};
  }
  const XReply<xcb_query_tree_reply_t> tree(
      xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr));
  if (!tree) return {};
  const xcb_window_t* first = xcb_query_tree_children(tree.get());
  return {first, first + xcb_query_tree_children_length(tree.get())};
}

// The requests about one window; all are sent before the first reply is awaited.
struct Questions {
  xcb_window_t window;
  xcb_get_window_attributes_cookie_t attributes;
  xcb_get_property_cookie_t name;
  xcb_get_property_cookie_t oldName;
};

Questions ask(xcb_connection_t* connection, xcb_window_t window, const Atoms& atoms) {
  return {window, xcb_get_window_attributes(connection, window),
          xcb_get_property(connection, 0, window, atoms.name, XCB_ATOM_ANY, 0, kNameLimit),
          xcb_get_property(connection, 0, window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY, 0, kNameLimit)};
}

std::string textOf(const xcb_get_property_reply_t* property) {
  if (!property || property->format != 8) return {};
  return {static_cast<const char*>(xcb_get_property_value(property)),
          static_cast<size_t>(xcb_get_property_value_length(property))};
}

// The older of the two properties is usually in Latin-1.
std::string inUtf8(const std::string& text) {
  if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) return text;
  const GstPtr<gchar> converted(g_convert(text.data(), static_cast<gssize>(text.size()), "UTF-8",
                                          "ISO-8859-1", nullptr, nullptr, nullptr));
  return converted ? converted.get() : "";
}

std::optional<ScreenSource> read(xcb_connection_t* connection, const Questions& asked) {
  const XReply<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(connection, asked.attributes, nullptr));
  const XReply<xcb_get_property_reply_t> name(
      xcb_get_property_reply(connection, asked.name, nullptr));
  const XReply<xcb_get_property_reply_t> oldName(
      xcb_get_property_reply(connection, asked.oldName, nullptr));
  if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
      attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT || attributes->override_redirect) {
    return std::nullopt;
  }
  std::string text = inUtf8(textOf(name.get()));
  if (text.empty()) text = inUtf8(textOf(oldName.get()));
  if (text.empty()) text = fmt::format("Window {:#x}", asked.window);
  return ScreenSource{{asked.window}, std::move(text)};
}

}  // namespace

std::vector<ScreenSource> listX11Screens(const XDisplay& display) {
  xcb_connection_t* connection = display.connection.get();
  std::vector<ScreenSource> sources;
  for (const Monitor& monitor : listMonitors(display)) {
    sources.push_back({monitor.id, monitorName(display, monitor)});
  }
  const Atoms atoms = internAtoms(connection);
  std::vector<Questions> questions;
  for (const xcb_window_t window : topLevelWindows(display, atoms.clientList)) {
    questions.push_back(ask(connection, window, atoms));
  }
  for (const Questions& asked : questions) {
    if (auto source = read(connection, asked)) sources.push_back(std::move(*source));
  }
  return sources;
}

}  // namespace NimboEngine

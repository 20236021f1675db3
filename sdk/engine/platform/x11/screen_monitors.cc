#include "platform/x11/screen_monitors.h"

#include <fmt/format.h>
#include <xcb/randr.h>

namespace NimboEngine {
namespace {

// Monitors exist since version 1.5. The server replies in the version that the client requests.
bool knowsMonitors(xcb_connection_t* connection) {
  if (!hasExtension(connection, xcb_randr_id)) return false;
  const XReply<xcb_randr_query_version_reply_t> version(xcb_randr_query_version_reply(
      connection, xcb_randr_query_version(connection, 1, 5), nullptr));
  return version && (version->major_version > 1 ||
                     (version->major_version == 1 && version->minor_version >= 5));
}

Monitor wholeDesktop(const XDisplay& display) {
  xcb_connection_t* connection = display.connection.get();
  const XReply<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(
      connection, xcb_get_geometry(connection, display.screen->root), nullptr));
  if (!root) {
    return {{kMonitorBit},
            {0, 0, display.screen->width_in_pixels, display.screen->height_in_pixels}};
  }
  return {{kMonitorBit}, {0, 0, root->width, root->height}};
}

}  // namespace

std::vector<Monitor> listMonitors(const XDisplay& display) {
  xcb_connection_t* connection = display.connection.get();
  std::vector<Monitor> monitors;
  if (knowsMonitors(connection)) {
    const XReply<xcb_randr_get_monitors_reply_t> reply(xcb_randr_get_monitors_reply(
        connection, xcb_randr_get_monitors(connection, display.screen->root, 1), nullptr));
    if (reply) {
      for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem;
           xcb_randr_monitor_info_next(&each)) {
        const auto& info = *each.data;
        monitors.push_back({{kMonitorBit | info.name}, {info.x, info.y, info.width, info.height}});
      }
    }
  }
  if (monitors.empty()) monitors.push_back(wholeDesktop(display));
  return monitors;
}

std::string monitorName(const XDisplay& display, const Monitor& monitor) {
  const std::string size = fmt::format("{}x{}", monitor.area.width, monitor.area.height);
  const auto atom = static_cast<xcb_atom_t>(monitor.id.number & ~kMonitorBit);
  xcb_connection_t* connection = display.connection.get();
  const XReply<xcb_get_atom_name_reply_t> name(
      atom == XCB_ATOM_NONE
          ? nullptr
          : xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, atom), nullptr));
  if (!name) return fmt::format("Desktop ({})", size);
  const std::string_view text(xcb_get_atom_name_name(name.get()),
                              static_cast<size_t>(xcb_get_atom_name_name_length(name.get())));
  return fmt::format("Screen {} ({})", text, size);
}

}  // namespace NimboEngine

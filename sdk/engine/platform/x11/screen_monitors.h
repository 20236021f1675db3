// The monitors of a desktop, and their identifiers among the sources that can be shared.
//
// A window's identifier is its own on the X server, which never sets one of the upper three bits. A
// monitor's is kMonitorBit and the server's number for the monitor's name, which stays the same
// while the server lives, whichever other monitors come and go. kMonitorBit alone is the whole
// desktop, for a server without monitors.
//
// Thread: that of the connection.
// Failure: if the server does not answer, the whole desktop is listed.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media/view_layout.h"
#include "platform/screen/screen.h"
#include "platform/x11/x_display.h"

namespace NimboEngine {

inline constexpr uint32_t kMonitorBit = 0x4000'0000;

inline bool isMonitor(ScreenId id) {
  return (id.number & kMonitorBit) != 0;
}

struct Monitor {
  ScreenId id{kMonitorBit};
  Rect area;  // on the root window
};

// Never empty.
std::vector<Monitor> listMonitors(const XDisplay& display);

// Returns the display name.
std::string monitorName(const XDisplay& display, const Monitor& monitor);

}  // namespace NimboEngine

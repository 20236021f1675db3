// Lists the sources that can be shared instead of the camera: the desktop's monitors, then its
// visible windows. In a Wayland session without an X server there is one entry, for which the
// desktop asks the user.
//
// Windows are the clients of the window manager or, without one, the children of the root window;
// minimised windows, menus and tooltips are left out. screen_monitors.h defines the identifiers.
//
// Thread: any. Waits for X server and portal, a second and a half at most.
// Failure: without a server, or with one that does not answer, the list is empty, and a warning
//   logged.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace NimboEngine {

struct ScreenSource {
  uint32_t id = 0;
  std::string name;  // display name, UTF-8
};

std::vector<ScreenSource> listScreenSources();

}  // namespace NimboEngine

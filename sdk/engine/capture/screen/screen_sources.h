// What can be shared instead of the camera: the desktop's monitors, then the windows that it shows.
// In a Wayland session without an X server it is one entry, which has the desktop ask the user.
//
// Windows are those that a window manager counts as its clients or, without one, the children of
// the root window; none that are minimised, and no menus or tips. screen_monitors.h tells how both
// are numbered.
//
// Thread: any. Waits for X server and portal, a second and a half at most.
// Failure: without a server, or with one that does not answer, the list is empty; the log says so.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace NimboEngine {

struct ScreenSource {
  uint32_t id = 0;
  std::string name;  // for people, UTF-8
};

std::vector<ScreenSource> listScreenSources();

}  // namespace NimboEngine

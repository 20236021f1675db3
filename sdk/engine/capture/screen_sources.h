// What can be shared instead of the camera: the desktop's monitors, then the windows that it shows.
//
// Windows are those that a window manager counts as its clients or, without one, the children of
// the root window; none that are minimised, and no menus or tips. screen_monitors.h tells how both
// are numbered.
//
// Thread: any. Waits for the X server, little more than a second at most.
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

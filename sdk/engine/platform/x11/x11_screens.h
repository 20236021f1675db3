// The monitors and windows of an X server. Windows are the clients of the window manager or, without
// one, the children of the root window. screen_monitors.h defines the identifiers.
//
// Thread: that of the connection.
// Failure: what the server does not answer is left out.

#pragma once

#include <vector>

#include "platform/screen/screen.h"
#include "platform/x11/x_display.h"

namespace NimboEngine {

// `display` must have a screen.
std::vector<ScreenSource> listX11Screens(const XDisplay& display);

}  // namespace NimboEngine

// The screens of a Linux desktop: those of the X server or, in a Wayland session without one, the
// user's choice in the desktop's portal.

#include <glib.h>

#include <chrono>
#include <future>
#include <memory>
#include <vector>

#include "base/detachable_thread.h"
#include "base/log.h"
#include "platform/desktop/portal_reader.h"
#include "platform/screen/screen.h"
#include "platform/x11/screen_grabber.h"
#include "platform/x11/x11_screens.h"

namespace NimboEngine {
namespace {

constexpr std::chrono::milliseconds kTimeout{1500};

std::vector<ScreenSource> askDesktop() {
  const XDisplay display = XDisplay::open();
  if (display.screen) return listX11Screens(display);
  if (g_getenv("WAYLAND_DISPLAY") && ScreenPortal::isThere()) {
    return {{kPortalSource, "Choose a screen or window…"}};
  }
  NIMBO_LOG_WARN("no screen can be shared: there is no X server");
  return {};
}

}  // namespace

std::vector<ScreenSource> listScreenSources() {
  const auto found = std::make_shared<std::promise<std::vector<ScreenSource>>>();
  std::future<std::vector<ScreenSource>> answer = found->get_future();
  const DetachableThread thread("screen-list", [found] { found->set_value(askDesktop()); });
  if (answer.wait_for(kTimeout) == std::future_status::ready) return answer.get();
  NIMBO_LOG_WARN("no screen can be shared: the X server does not answer");
  return {};
}

std::unique_ptr<ScreenReader> openScreen(ScreenId id, GCancellable* cancelled) {
  if (id == kPortalSource) return std::make_unique<PortalReader>(cancelled);
  return std::make_unique<ScreenGrabber>(id);
}

}  // namespace NimboEngine

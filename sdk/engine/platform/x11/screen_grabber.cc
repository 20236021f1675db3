#include "platform/x11/screen_grabber.h"

#include <fmt/format.h>
#include <xcb/composite.h>

#include <algorithm>
#include <utility>

#include "media/frame_converter.h"
#include "platform/x11/screen_monitors.h"

namespace NimboEngine {
namespace {

Rect intersection(const Rect& a, const Rect& b) {
  const int left = std::max(a.x, b.x);
  const int top = std::max(a.y, b.y);
  const int right = std::min(a.x + a.width, b.x + b.width);
  const int bottom = std::min(a.y + a.height, b.y + b.height);
  return {left, top, std::max(0, right - left), std::max(0, bottom - top)};
}

// The off-screen pixmap of a window, freed with the object.
class WindowPixmap {
 public:
  WindowPixmap(xcb_connection_t* connection, xcb_window_t window, xcb_pixmap_t id)
      : connection_(connection), id_(id) {
    xcb_composite_name_window_pixmap(connection, window, id);
  }
  ~WindowPixmap() { xcb_free_pixmap(connection_, id_); }
  WindowPixmap(const WindowPixmap&) = delete;
  WindowPixmap& operator=(const WindowPixmap&) = delete;

 private:
  xcb_connection_t* const connection_;
  const xcb_pixmap_t id_;
};

}  // namespace

ScreenGrabber::ScreenGrabber(ScreenId id)
    : id_(id),
      window_(static_cast<xcb_window_t>(id.number)),
      display_(XDisplay::open()),
      contentsAreKept_(keepContents()),
      pixmap_(contentsAreKept_ ? xcb_generate_id(connection()) : XCB_NONE),
      cursor_(connection()) {}

// Redirects the window to off-screen storage, from which the server copies it to the screen. Lasts
// until the connection closes.
bool ScreenGrabber::keepContents() {
  if (!display_.screen || isMonitor(id_)) return false;
  if (!hasExtension(connection(), xcb_composite_id)) return false;
  const XReply<xcb_composite_query_version_reply_t> version(xcb_composite_query_version_reply(
      connection(), xcb_composite_query_version(connection(), 0, 4), nullptr));
  if (!version || (version->major_version == 0 && version->minor_version < 2)) return false;
  const XReply<xcb_generic_error_t> refused(xcb_request_check(
      connection(), xcb_composite_redirect_window_checked(connection(), window_,
                                                          XCB_COMPOSITE_REDIRECT_AUTOMATIC)));
  return !refused;
}

GstPtr<GstBuffer> ScreenGrabber::frame(GstVideoInfo& info) {
  return wrapPixels(image_->pixels(), image_->size(), GST_VIDEO_FORMAT_BGRx, info);
}

ScreenGrabber::Outcome ScreenGrabber::grab() {
  if (!display_.screen) return ended(Outcome::kGone, "there is no X server");
  Place place{};
  const Outcome found = locate(place);
  if (xcb_connection_has_error(connection()))
    return ended(Outcome::kGone, "the X server has ended");
  if (found != Outcome::kFrame) return found;
  const Outcome fetched = fetch(place);
  while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(connection())}) {
    // Discards errors of requests that were too late for the window.
  }
  if (xcb_connection_has_error(connection()))
    return ended(Outcome::kGone, "the X server has ended");
  return fetched;
}

ScreenGrabber::Outcome ScreenGrabber::locate(Place& place) {
  return isMonitor(id_) ? locateMonitor(place) : locateWindow(place);
}

ScreenGrabber::Outcome ScreenGrabber::locateMonitor(Place& place) {
  const auto monitors = listMonitors(display_);
  const auto found = std::find_if(monitors.begin(), monitors.end(),
                                  [this](const Monitor& monitor) { return monitor.id == id_; });
  if (found == monitors.end()) return ended(Outcome::kGone, "the monitor is not there");
  if (!hasPlainPixels(connection(), display_.screen->root_depth)) {
    return ended(Outcome::kGone, "the screen's colours have an unknown format");
  }
  place = {display_.screen->root, found->area, found->area};
  return Outcome::kFrame;
}

ScreenGrabber::Outcome ScreenGrabber::locateWindow(Place& place) {
  const xcb_window_t root = display_.screen->root;
  const auto askAttributes = xcb_get_window_attributes(connection(), window_);
  const auto askGeometry = xcb_get_geometry(connection(), window_);
  const auto askOrigin = xcb_translate_coordinates(connection(), window_, root, 0, 0);
  const auto askRoot = xcb_get_geometry(connection(), root);
  const XReply<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(connection(), askAttributes, nullptr));
  const XReply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection(), askGeometry, nullptr));
  const XReply<xcb_translate_coordinates_reply_t> origin(
      xcb_translate_coordinates_reply(connection(), askOrigin, nullptr));
  const XReply<xcb_get_geometry_reply_t> screen(
      xcb_get_geometry_reply(connection(), askRoot, nullptr));
  if (!attributes || !geometry || !origin || !screen) {
    return ended(Outcome::kGone, fmt::format("window {:#x} is not there", window_));
  }
  if (!hasPlainPixels(connection(), geometry->depth)) {
    return ended(Outcome::kGone,
                 fmt::format("the colours of window {:#x} have an unknown format", window_));
  }
  if (attributes->map_state != XCB_MAP_STATE_VIEWABLE) return Outcome::kHidden;
  const Rect area{origin->dst_x, origin->dst_y, geometry->width, geometry->height};
  if (contentsAreKept_) {
    const int border = geometry->border_width;
    place = {pixmap_, {border, border, area.width, area.height}, area};
    return Outcome::kFrame;
  }
  const Rect visible = intersection(area, {0, 0, screen->width, screen->height});
  place = {root, visible, visible};
  return visible.width > 0 && visible.height > 0 ? Outcome::kFrame : Outcome::kHidden;
}

// Requests image and pointer together, so that they match.
ScreenGrabber::Outcome ScreenGrabber::fetch(const Place& place) {
  // A new name each time: a window that changes its size gets another pixmap.
  std::optional<WindowPixmap> pixmap;
  if (contentsAreKept_) pixmap.emplace(connection(), window_, place.drawable);
  const Size size{place.part.width, place.part.height};
  std::swap(image_, previous_);
  if (previous_ && previous_->size() != size) previous_.reset();
  if (!image_ || image_->size() != size) {
    image_.reset();
    image_ = std::make_unique<ScreenImage>(connection(), size);
  }
  image_->ask(place.drawable, place.part.x, place.part.y);
  cursor_.ask();
  const bool taken = image_->take();
  cursor_.draw(taken ? image_->pixels() : nullptr, place.area);
  if (!taken) return Outcome::kMissed;
  return previous_ && previous_->hasSamePixels(*image_) ? Outcome::kSame : Outcome::kFrame;
}

}  // namespace NimboEngine

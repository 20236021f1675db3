#include "support/x_server.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace NimboEngine::test {
namespace {

// The number that the server writes, with a new line behind it, when it is ready.
std::string waitForDisplay(const std::string& file) {
  using Clock = std::chrono::steady_clock;
  for (const auto end = Clock::now() + std::chrono::seconds(60); Clock::now() < end;) {
    std::ifstream stream(file);
    std::string number;
    if (std::getline(stream, number) && !stream.eof()) return number;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  throw std::runtime_error("Xvfb does not start");
}

}  // namespace

XServer::XServer(const std::vector<std::string>& options)
    : displayFile_(std::filesystem::temp_directory_path() /
                   ("nimbo-display-" + std::to_string(getpid()))) {
  // Without -noreset the server restarts whenever its last client disconnects.
  std::vector<std::string> arguments{"Xvfb",       "-displayfd", "1",   "-screen", "0",
                                     "800x600x24", "-nolisten",  "tcp", "-noreset"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  process_ = std::make_unique<ChildProcess>(std::move(arguments), displayFile_);
  const std::string display = ":" + waitForDisplay(displayFile_);
  setenv("DISPLAY", display.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): before any view
}

XServer::~XServer() {
  unsetenv("DISPLAY");  // NOLINT(concurrency-mt-unsafe): after all views
  std::filesystem::remove(displayFile_);
}

void setClientList(const std::vector<uint32_t>& windows) {
  constexpr std::string_view kName = "_NET_CLIENT_LIST";
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(
      connection, xcb_intern_atom(connection, 0, kName.size(), kName.data()), nullptr);
  std::free(xcb_request_check(
      connection, xcb_change_property_checked(
                      connection, XCB_PROP_MODE_REPLACE, screen->root, atom->atom, XCB_ATOM_WINDOW,
                      32, static_cast<uint32_t>(windows.size()), windows.data())));
  std::free(atom);
  xcb_disconnect(connection);
}

XWindow::XWindow(Size size) : XWindow({.place = {0, 0, size.width, size.height}}) {}

XWindow::XWindow(const XWindowOptions& options)
    : connection_(xcb_connect(nullptr, nullptr)), size_{options.place.width, options.place.height} {
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  window_ = xcb_generate_id(connection_);
  const std::array<uint32_t, 2> values{options.colour, options.overrideRedirect ? 1U : 0U};
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_,
                    options.parent ? options.parent : screen->root,
                    static_cast<int16_t>(options.place.x), static_cast<int16_t>(options.place.y),
                    static_cast<uint16_t>(size_.width), static_cast<uint16_t>(size_.height), 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
  if (!options.name.empty()) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, static_cast<uint32_t>(options.name.size()),
                        options.name.data());
  }
  if (options.mapped) map();
  sync();
}

XWindow::~XWindow() {
  xcb_disconnect(connection_);
}

void XWindow::resize(Size size) {
  const std::array<uint32_t, 2> values{static_cast<uint32_t>(size.width),
                                       static_cast<uint32_t>(size.height)};
  std::free(xcb_request_check(
      connection_, xcb_configure_window_checked(connection_, window_,
                                                XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                                                values.data())));
  size_ = size;
}

void XWindow::setColour(uint32_t colour) {
  xcb_change_window_attributes(connection_, window_, XCB_CW_BACK_PIXEL, &colour);
  xcb_clear_area(connection_, 0, window_, 0, 0, 0, 0);
  sync();
}

void XWindow::map() {
  xcb_map_window(connection_, window_);
  sync();
}

void XWindow::unmap() {
  xcb_unmap_window(connection_, window_);
  sync();
}

void XWindow::showPointer(std::array<uint16_t, 3> colour) {
  constexpr uint16_t kSide = 16;
  const xcb_pixmap_t shape = xcb_generate_id(connection_);
  xcb_create_pixmap(connection_, 1, shape, window_, kSide, kSide);
  const xcb_gcontext_t gc = xcb_generate_id(connection_);
  const uint32_t set = 1;
  xcb_create_gc(connection_, gc, shape, XCB_GC_FOREGROUND, &set);
  const xcb_rectangle_t all{0, 0, kSide, kSide};
  xcb_poly_fill_rectangle(connection_, shape, gc, 1, &all);
  const xcb_cursor_t cursor = xcb_generate_id(connection_);
  xcb_create_cursor(connection_, cursor, shape, shape, colour[0], colour[1], colour[2], 0, 0, 0,
                    kSide / 2, kSide / 2);
  xcb_change_window_attributes(connection_, window_, XCB_CW_CURSOR, &cursor);
  xcb_warp_pointer(connection_, XCB_NONE, window_, 0, 0, 0, 0,
                   static_cast<int16_t>(size_.width / 2), static_cast<int16_t>(size_.height / 2));
  sync();
}

// Returns when the server has processed all requests.
void XWindow::sync() {
  std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void XWindow::destroy() {
  std::free(xcb_request_check(connection_, xcb_destroy_window_checked(connection_, window_)));
}

std::array<int, 3> XWindow::at(double x, double y) const {
  xcb_get_image_reply_t* image =
      xcb_get_image_reply(connection_,
                          xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window_,
                                        static_cast<int16_t>(x * size_.width),
                                        static_cast<int16_t>(y * size_.height), 1, 1, ~0U),
                          nullptr);
  if (!image) return {-1, -1, -1};
  const uint8_t* pixel = xcb_get_image_data(image);
  const std::array<int, 3> colour{pixel[2], pixel[1], pixel[0]};
  std::free(image);
  return colour;
}

}  // namespace NimboEngine::test

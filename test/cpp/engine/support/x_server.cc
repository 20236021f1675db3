#include "support/x_server.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
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
  // Without -noreset the server starts afresh whenever its last client goes.
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

XWindow::XWindow(Size size) : connection_(xcb_connect(nullptr, nullptr)), size_(size) {
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  window_ = xcb_generate_id(connection_);
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0,
                    static_cast<uint16_t>(size.width), static_cast<uint16_t>(size.height), 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
  std::free(xcb_request_check(connection_, xcb_map_window_checked(connection_, window_)));
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

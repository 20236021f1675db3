// A test's own display server, and a window on it that the test owns.
//
// Thread: one at a time.
// Failure: a server that does not come up throws std::runtime_error.

#pragma once

#include <xcb/xcb.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "media/view_layout.h"
#include "support/child_process.h"

namespace NimboEngine::test {

// Xvfb with a screen of 800 by 600; $DISPLAY names it during its lifetime.
class XServer {
 public:
  // `options` are further options of Xvfb.
  explicit XServer(const std::vector<std::string>& options = {});
  ~XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;

  void signal(int number) const { process_->signal(number); }
  void kill() { process_.reset(); }

 private:
  const std::string displayFile_;
  std::unique_ptr<ChildProcess> process_;
};

struct XWindowOptions {
  Rect place{0, 0, 100, 100};
  uint32_t colour = 0;  // 0xRRGGBB
  std::string name{};   // "": none
  uint32_t parent = 0;  // 0: the root window
  bool mapped = true;
  bool overrideRedirect = false;
};

// The root window's list of a window manager's clients.
void setClientList(const std::vector<uint32_t>& windows);

class XWindow {
 public:
  explicit XWindow(Size size);
  explicit XWindow(const XWindowOptions& options);
  ~XWindow();
  XWindow(const XWindow&) = delete;
  XWindow& operator=(const XWindow&) = delete;

  uint32_t id() const { return window_; }
  void resize(Size size);
  void setColour(uint32_t colour);
  void map();
  void unmap();
  void destroy();
  // A cursor of that colour, 16 by 16 pixels, in the middle of the window.
  void showPointer(std::array<uint16_t, 3> colour);

  // Returns red, green and blue of the window's content, at a place given as fractions of its size.
  std::array<int, 3> at(double x, double y) const;

 private:
  void sync();

  xcb_connection_t* connection_;
  uint32_t window_;
  Size size_;
};

}  // namespace NimboEngine::test

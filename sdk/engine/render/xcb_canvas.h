// A drawing surface that is shown in a window of another program or toolkit: 32 bits a pixel, in
// memory shared with the X server where the server allows it, else sent to it.
//
// Thread: one thread at a time.
// Ownership: owns its connection to the X server, named by $DISPLAY, and the surface. The window is
//   somebody else's and may go at any time, as may the server; neither ends the process.
// Failure: refresh() answers false for ever once window or server are gone.

#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include "render/view_layout.h"

namespace NimboEngine {

// Memory shared with the X server.
class ShmSegment {
 public:
  // Null when the server does not share memory (it may run on another machine).
  static std::unique_ptr<ShmSegment> attach(xcb_connection_t* connection, size_t bytes);
  ~ShmSegment();
  ShmSegment(const ShmSegment&) = delete;
  ShmSegment& operator=(const ShmSegment&) = delete;

  uint8_t* data() const { return data_; }
  uint32_t id() const { return id_; }

 private:
  ShmSegment(xcb_connection_t* connection, uint32_t id, uint8_t* data)
      : connection_(connection), id_(id), data_(data) {}

  xcb_connection_t* connection_;
  uint32_t id_;
  uint8_t* data_;
};

class XcbCanvas {
 public:
  explicit XcbCanvas(uint32_t window);
  ~XcbCanvas();
  XcbCanvas(const XcbCanvas&) = delete;
  XcbCanvas& operator=(const XcbCanvas&) = delete;

  // Brings the surface to the window's present size and waits until the server has done with what
  // was shown before. False when the window cannot be drawn into (any more).
  bool refresh();

  Size size() const { return size_; }

  // size().height rows of size().width pixels without gaps, each blue, green, red, alpha.
  uint8_t* pixels() { return shared_ ? shared_->data() : own_.data(); }

  // Shows the surface.
  void show();

  // Whether the surface is in shared memory.
  bool isShared() const { return shared_ != nullptr; }

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  bool isDrawable(uint8_t depth) const;
  void resize(Size size);
  void send();

  const uint32_t window_;
  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  uint32_t gc_ = 0;
  uint8_t depth_ = 0;
  Size size_;
  std::unique_ptr<ShmSegment> shared_;
  std::vector<uint8_t> own_;
};

}  // namespace NimboEngine

// Screens: the monitors and windows that can be shared instead of the camera, and their frames.
// Each system has its implementation in folders of platform/.
//
// Thread: listScreenSources() any; a reader one thread at a time, whose every call may block on the
//   display server, possibly forever.
// Ownership: a reader owns the connection and the pixels.
// Failure: an empty list, and an Outcome; no failure of a source or server ends the process.

#pragma once

#include <gio/gio.h>
#include <gst/video/video.h>

#include <compare>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gst/gst_ptr.h"

namespace NimboEngine {

// A monitor or window of this system; only platform/ interprets the number. It is not 0 and fits into
// 32 bits, as the SDK's interface requires.
struct ScreenId {
  uint64_t number = 0;

  friend auto operator<=>(const ScreenId&, const ScreenId&) = default;
};

struct ScreenSource {
  ScreenId id;
  std::string name;  // display name, UTF-8
};

// Lists the desktop's monitors, then its visible windows; minimised windows, menus and tooltips are
// left out. A desktop that lets the user choose in a dialogue of its own has one entry for that.
// Waits for the desktop, a second and a half at most; without one, or if it does not answer, the
// list is empty, and a warning logged.
std::vector<ScreenSource> listScreenSources();

// Reads frames of a screen on demand.
class ScreenReader {
 public:
  enum class Outcome {
    kFrame,
    kSame,     // the last frame again
    kNone,     // no frame yet
    kMissed,   // no frame this time: the size was about to change
    kHidden,   // minimised, or wholly outside the screen if the server cannot avoid that
    kRefused,  // the user does not want it, see error()
    kGone,     // closed or never there, or the server ended; see error()
  };

  ScreenReader() = default;
  virtual ~ScreenReader() = default;
  ScreenReader(const ScreenReader&) = delete;
  ScreenReader& operator=(const ScreenReader&) = delete;

  virtual Outcome grab() = 0;

  // Returns the frame, with the mouse pointer in it, and its layout; valid after a call of grab()
  // that returned kFrame or kSame, until the next one.
  virtual GstPtr<GstBuffer> frame(GstVideoInfo& info) = 0;

  const std::string& error() const { return error_; }

 protected:
  Outcome ended(Outcome outcome, std::string error) {
    error_ = std::move(error);
    return outcome;
  }

 private:
  std::string error_;
};

// Opens the screen, which may block. Cancelling `cancelled`, on any thread, ends a wait for the
// user immediately. A missing screen shows in the first Outcome.
std::unique_ptr<ScreenReader> openScreen(ScreenId id, GCancellable* cancelled);

}  // namespace NimboEngine

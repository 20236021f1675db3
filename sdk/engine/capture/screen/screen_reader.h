// Reads frames of the shared screen or window on demand.
//
// Thread: one thread at a time; every call may block on the display server, possibly forever.
// Ownership: owns the connection and the pixels.
// Failure: an Outcome; no failure of the source or the server ends the process.

#pragma once

#include <gst/video/video.h>

#include <string>

#include "gst/gst_ptr.h"

namespace NimboEngine {

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

  virtual ~ScreenReader() = default;

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

}  // namespace NimboEngine

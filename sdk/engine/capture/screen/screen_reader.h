// Takes pictures of what is shared, one when it is asked for one.
//
// Thread: one thread at a time; every call may wait for the display server, also for ever.
// Ownership: owns the connection and the pixels.
// Failure: an outcome; nothing that becomes of the source or the server ends the process.

#pragma once

#include <gst/video/video.h>

#include <string>

#include "gst/gst_ptr.h"

namespace NimboEngine {

class ScreenReader {
 public:
  enum class Outcome {
    kFrame,
    kSame,     // the last picture again
    kNone,     // nothing has come yet
    kMissed,   // no picture this time: it was about to change its size
    kHidden,   // minimised, or wholly outside the screen where that cannot be helped
    kRefused,  // the user does not want it; problem() tells
    kGone,     // closed or never there, or the server ended; problem() tells
  };

  virtual ~ScreenReader() = default;

  virtual Outcome grab() = 0;

  // The picture, with the mouse pointer in it, and its layout; valid until the next call of grab(),
  // after one that gave kFrame or kSame.
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

// Captures frames of a monitor or window at a steady rate and puts those that differ from the last
// into a mailbox, in the captured format: the whole image, with black borders if the aspect ratios
// differ.
//
// Thread: any. The error callback is called on the capture's own thread, and never after
//   destruction; it must not destroy the capture.
// Ownership: shares the mailbox. An X server that does not answer delays destruction a sixth of a
//   second at most; the thread is then detached.
// Failure: reported as a ScreenError; the mailbox keeps the last frame. GStreamer must have been
//   started.

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/worker.h"
#include "media/frame_consumer.h"
#include "media/frame_mailbox.h"
#include "platform/screen/screen.h"

namespace NimboEngine {

enum class ScreenError {
  kHidden,   // nothing of the window is visible at present; reported once each time
  kRefused,  // the user does not want to share it; no frames will follow
  kLost,     // no further frames will follow
};

class ScreenCapture {
 public:
  using ErrorCallback = std::function<void(ScreenError, const std::string& message)>;

  // Frames get the size of `format` and are captured at its rate.
  ScreenCapture(ScreenId id, const VideoFormat& format, std::shared_ptr<FrameMailbox> frames,
                ErrorCallback onError);
  ~ScreenCapture();
  ScreenCapture(const ScreenCapture&) = delete;
  ScreenCapture& operator=(const ScreenCapture&) = delete;

  // While paused nothing is captured and no error detected. No frame follows a call with true.
  void setPaused(bool paused);

  // Delivers frames in another format, the current one among them, into another mailbox.
  void setFormat(const VideoFormat& format, std::shared_ptr<FrameMailbox> frames);

 private:
  struct State;

  Worker<State> worker_;
};

}  // namespace NimboEngine

// Pictures of a monitor or window, taken at a steady rate and, where they differ from the last, put
// into a mailbox in the captured format: the whole picture, with black borders where the shapes
// differ.
//
// Thread: any. The trouble callback is called on the capture's own thread, and not any more when
//   destruction has begun to return; it must not destroy the capture.
// Ownership: shares the mailbox. An X server that does not answer delays destruction a sixth of a
//   second at most; the thread is then left behind.
// Failure: reported as trouble; the mailbox keeps the last picture. GStreamer must have been
//   started.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/worker.h"
#include "media/frame_consumer.h"
#include "media/frame_mailbox.h"

namespace NimboEngine {

enum class ScreenError {
  kHidden,   // there is nothing to see of the window at present; told once each time
  kRefused,  // the user does not want to share it; nothing will come
  kLost,     // nothing will come any more
};

class ScreenCapture {
 public:
  using ErrorCallback = std::function<void(ScreenError, const std::string& message)>;

  // `id` as in capture/screen/screen_sources.h; pictures get the size of `format` and are taken at
  // its rate.
  ScreenCapture(uint32_t id, const VideoFormat& format, std::shared_ptr<FrameMailbox> frames,
                ErrorCallback onError);
  ~ScreenCapture();
  ScreenCapture(const ScreenCapture&) = delete;
  ScreenCapture& operator=(const ScreenCapture&) = delete;

  // While paused nothing is taken, and nothing noticed. No picture follows a call with true.
  void setPaused(bool paused);

  // Pictures of another format from now on, the present one among them, into another mailbox.
  void setFormat(const VideoFormat& format, std::shared_ptr<FrameMailbox> frames);

 private:
  struct State;

  Worker<State> worker_;
};

}  // namespace NimboEngine

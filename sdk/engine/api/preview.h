// The local preview of one capture session: shows the frames in a native window if there is one,
// and reports when the first is shown, or captured if there is no window.
//
// Thread: created and destroyed on the engine thread, where the events are raised too.
// Ownership: the capture session is given and must outlive it.
// Failure: a window that cannot be drawn into is reported once; the preview continues without it.

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/engine_thread.h"
#include "base/weak_owner_guard.h"
#include "capture/capture_session.h"
#include "platform/view/view.h"

namespace NimboEngine {

class Preview final : private FrameConsumer {
 public:
  struct Events {
    std::function<void()> onStarted;
    std::function<void(const std::string& message)> onViewLost;
  };

  Preview(EngineThread& engine, CaptureSession& capture, std::optional<NativeWindow> window,
          bool audioOnly, Events events);
  ~Preview();
  Preview(const Preview&) = delete;
  Preview& operator=(const Preview&) = delete;

 private:
  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) override;
  void onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) override;
  void showIn(const NativeWindow& window);
  void notifyStarted();

  EngineThread& engine_;
  CaptureSession& capture_;
  const bool audioOnly_;  // waits for audio, since no frame will arrive
  const Events events_;
  const WeakOwnerGuard ownerGuard_;
  const EngineThread::Task started_;
  std::atomic<bool> waitsForView_{false};
  std::atomic<bool> notified_{false};
  std::unique_ptr<View> view_;  // null without a window
};

}  // namespace NimboEngine

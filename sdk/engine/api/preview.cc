#include "api/preview.h"

#include <utility>

namespace NimboEngine {

Preview::Preview(EngineThread& engine, CaptureSession& capture, std::optional<NativeWindow> window,
                 bool audioOnly, Events events)
    : engine_(engine),
      capture_(capture),
      audioOnly_(audioOnly),
      events_(std::move(events)),
      started_(ownerGuard_.bind(events_.onStarted)) {
  if (window && !audioOnly) showIn(*window);
  capture_.addConsumer(this);
}

Preview::~Preview() {
  capture_.removeConsumer(this);
  if (view_) capture_.removeConsumer(view_.get());
}

void Preview::showIn(const NativeWindow& window) {
  waitsForView_ = true;
  auto lost = ownerGuard_.bind(events_.onViewLost);
  view_ =
      openView(window, ViewEvents{.onFirstDrawn = [this] { notifyStarted(); },
                                  .onLost =
                                      [this, lost](const std::string& message) {
                                        waitsForView_ = false;  // the next frame counts as shown
                                        engine_.post([lost, message]() mutable { lost(message); });
                                      }});
  capture_.addConsumer(view_.get());
}

void Preview::onVideoFrame(GstBuffer*, const GstVideoInfo&, GstClockTime) {
  if (!audioOnly_ && !waitsForView_) notifyStarted();
}

void Preview::onAudioChunk(GstBuffer*, const AudioFormat&, GstClockTime) {
  if (audioOnly_) notifyStarted();
}

void Preview::notifyStarted() {
  if (!notified_.exchange(true)) engine_.post(started_);
}

}  // namespace NimboEngine

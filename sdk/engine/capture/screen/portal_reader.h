// Reads frames of the screen or window that the user chose in the desktop's portal (see
// screen_portal.h). The first call of grab() opens the chooser and waits for the user.
//
// Thread, failure: see ScreenReader; cancelling `cancelled` ends the wait for the user immediately.
// Ownership: owns portal session and pipeline.

#pragma once

#include <atomic>
#include <memory>

#include "capture/screen/screen_portal.h"
#include "capture/screen/screen_reader.h"
#include "gst/pipeline.h"

namespace NimboEngine {

class PortalReader final : public ScreenReader {
 public:
  explicit PortalReader(GCancellable* cancelled) : portal_(cancelled, {}) {}

  Outcome grab() override;
  GstPtr<GstBuffer> frame(GstVideoInfo& info) override;

 private:
  Outcome open();

  ScreenPortal portal_;
  std::atomic<bool> failed_{false};
  std::unique_ptr<Pipeline> pipeline_;
  GstPtr<GstElement> sink_;
  GstPtr<GstSample> sample_;
};

}  // namespace NimboEngine

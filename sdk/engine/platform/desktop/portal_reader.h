// Reads frames of the screen or window that the user chose in the desktop's portal (see
// screen_portal.h). The first call of grab() opens the chooser and waits for the user.
//
// Thread, failure: see platform/screen/screen.h; cancelling `cancelled` ends the wait for the user
//   immediately.
// Ownership: owns portal session and pipeline.

#pragma once

#include <atomic>
#include <memory>

#include "gst/pipeline.h"
#include "platform/desktop/screen_portal.h"
#include "platform/screen/screen.h"

namespace NimboEngine {

// The user's choice among screens and windows; an X server never sets this bit.
inline constexpr ScreenId kPortalSource{0x2000'0000};

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

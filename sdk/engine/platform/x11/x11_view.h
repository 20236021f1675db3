// The view for X11 windows.

#pragma once

#include <cstdint>

#include "base/worker.h"
#include "platform/view/view.h"

namespace NimboEngine {

class X11View final : public View {
 public:
  // `window` is an X11 window's identifier on the server that $DISPLAY names.
  X11View(uint32_t window, ViewEvents events, const ViewStyle& style = {});
  ~X11View() override;

  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) override;

 private:
  struct State;

  Worker<State> worker_;
};

}  // namespace NimboEngine

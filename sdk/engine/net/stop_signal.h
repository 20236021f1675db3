// Interrupts a thread that waits in poll() or in a GIO operation.
//
// Thread: any.
// Ownership: owns an event and a cancellable.
// Failure: isValid() is false when the process has no descriptors left.

#pragma once

#include <atomic>

#include "base/glib_ptr.h"
#include "platform/wake_event.h"

namespace NimboEngine {

class StopSignal {
 public:
  StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  bool isValid() const { return event_.descriptor() >= 0; }

  // Permanent: all waiting calls, and later ones, return immediately.
  void stop();
  bool isStopped() const { return stopped_; }

  // Wakes one poll() on descriptor(); clear() afterwards.
  void wake() { event_.set(); }
  void clear() { event_.clear(); }

  int descriptor() const { return event_.descriptor(); }
  GCancellable* cancellable() const { return cancellable_.get(); }

 private:
  WakeEvent event_;
  const GlibPtr<GCancellable> cancellable_;
  std::atomic<bool> stopped_ = false;
};

}  // namespace NimboEngine

// An event that threads wait for with poll(): its descriptor is readable from set() to clear().
//
// Thread: any.
// Ownership: owns the descriptor.
// Failure: the descriptor is -1 when the process has none left.

#pragma once

namespace NimboEngine {

class WakeEvent {
 public:
  WakeEvent();
  ~WakeEvent();
  WakeEvent(const WakeEvent&) = delete;
  WakeEvent& operator=(const WakeEvent&) = delete;

  int descriptor() const { return descriptor_; }
  void set();
  void clear();

 private:
  const int descriptor_;
};

}  // namespace NimboEngine

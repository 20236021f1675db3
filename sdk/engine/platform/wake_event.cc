#include "platform/wake_event.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace NimboEngine {

WakeEvent::WakeEvent() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WakeEvent::~WakeEvent() {
  if (descriptor_ >= 0) close(descriptor_);
}

void WakeEvent::set() {
  eventfd_write(descriptor_, 1);
}

void WakeEvent::clear() {
  eventfd_t value = 0;
  eventfd_read(descriptor_, &value);
}

}  // namespace NimboEngine

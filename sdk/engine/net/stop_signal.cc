#include "net/stop_signal.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace NimboEngine {

StopSignal::StopSignal()
    : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), cancellable_(g_cancellable_new()) {}

StopSignal::~StopSignal() {
  if (descriptor_ >= 0) close(descriptor_);
}

void StopSignal::stop() {
  stopped_ = true;
  g_cancellable_cancel(cancellable_.get());
  wake();
}

void StopSignal::wake() {
  eventfd_write(descriptor_, 1);
}

void StopSignal::clear() {
  eventfd_t value = 0;
  eventfd_read(descriptor_, &value);
}

}  // namespace NimboEngine

#include "net/stop_signal.h"

namespace NimboEngine {

StopSignal::StopSignal() : cancellable_(g_cancellable_new()) {}

void StopSignal::stop() {
  stopped_ = true;
  g_cancellable_cancel(cancellable_.get());
  wake();
}

}  // namespace NimboEngine

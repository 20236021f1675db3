#include "base/detachable_thread.h"

#include <system_error>
#include <utility>

#include "base/log.h"
#include "platform/thread_name.h"

namespace NimboEngine {

DetachableThread::DetachableThread(std::string name, std::function<void()> body,
                                   std::chrono::milliseconds endTimeout)
    : name_(std::move(name)), endTimeout_(endTimeout) {
  // Not a packaged_task: it would run the body inside pthread_once, which ThreadSanitizer cannot
  // see into.
  std::promise<void> ended;
  ended_ = ended.get_future();
  try {
    thread_ = std::thread([body = std::move(body), ended = std::move(ended)]() mutable {
      body();
      ended.set_value();
    });
    nameThread(thread_, name_);
  } catch (const std::system_error& error) {
    NIMBO_LOG_ERROR("thread {} cannot be started: {}", name_, error.what());
  }
}

DetachableThread::~DetachableThread() {
  if (!thread_.joinable()) return;
  if (ended_.wait_for(endTimeout_) == std::future_status::ready) {
    thread_.join();
    return;
  }
  if (endTimeout_ > std::chrono::milliseconds::zero()) {
    NIMBO_LOG_WARN("thread {} does not end in time and is detached", name_);
  }
  thread_.detach();
}

}  // namespace NimboEngine

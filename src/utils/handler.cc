#include "utils/handler.h"

#include <algorithm>
#include <iterator>

namespace LumoLivePushElectronSDK {
namespace {

using namespace std::chrono_literals;

constexpr auto kIdleWait = 3'600'000ms;
constexpr auto kSpinWindow = 1ms;
constexpr auto kEmptyPoll = 20ms;

// The looper of the current thread; null on threads without one.
thread_local const void* current_life = nullptr;

// Releases a held mutex during a scope.
class Unguarded {
 public:
  explicit Unguarded(std::mutex& guard) : guard_(guard) { guard_.unlock(); }
  ~Unguarded() { guard_.lock(); }
  Unguarded(const Unguarded&) = delete;
  Unguarded& operator=(const Unguarded&) = delete;

 private:
  std::mutex& guard_;
};

}  // namespace

// ------------------------------------------------------------------------------- MessageQueue

void MessageQueue::enqueueMessage(std::shared_ptr<Message> message) {
  std::unique_lock lock(mutex_);
  const bool wake = insertSorted(std::move(message));
  lock.unlock();
  if (wake) condition_.notify_all();
}

void MessageQueue::postMessage(std::shared_ptr<Message> message, std::chrono::milliseconds delay) {
  std::unique_lock lock(mutex_);
  message->when = Message::Clock::now() + delay;
  const bool wake = insertSorted(std::move(message));
  lock.unlock();
  if (wake) condition_.notify_all();
}

bool MessageQueue::insertSorted(std::shared_ptr<Message> message) {
  // From the back: most messages are posted to run last.
  auto place = messages_.end();
  while (place != messages_.begin() && message->when < (*std::prev(place))->when) --place;
  const bool becomes_first = place == messages_.begin();
  messages_.insert(place, std::move(message));
  return becomes_first;
}

bool MessageQueue::hasMessage(const std::shared_ptr<Message>& message) const {
  const std::lock_guard lock(mutex_);
  return std::find(messages_.begin(), messages_.end(), message) != messages_.end();
}

bool MessageQueue::removeMessage(const std::shared_ptr<Message>& message) {
  const std::lock_guard lock(mutex_);
  const auto found = std::find(messages_.begin(), messages_.end(), message);
  if (found == messages_.end()) return false;
  messages_.erase(found);
  return true;
}

void MessageQueue::clearMessages() {
  // Released after the lock: a message's destructor may post or query.
  std::list<std::shared_ptr<Message>> dropped;
  const std::lock_guard lock(mutex_);
  messages_.swap(dropped);
}

std::shared_ptr<Message> MessageQueue::next() {
  std::unique_lock lock(mutex_);
  while (!quitting_) {
    if (messages_.empty()) {
      condition_.wait_for(lock, kIdleWait);
      continue;
    }
    const auto remaining = messages_.front()->when - Message::Clock::now();
    if (remaining <= 0ns) {
      auto message = std::move(messages_.front());
      messages_.pop_front();
      return message;
    }
    if (remaining < kSpinWindow) {
      lock.unlock();
      std::this_thread::yield();
      lock.lock();
    } else {
      condition_.wait_for(lock, std::chrono::floor<std::chrono::milliseconds>(remaining));
    }
  }
  return nullptr;
}

void MessageQueue::waitUntilNoPendingMessage() {
  std::unique_lock lock(mutex_);
  while (!quitting_ && !messages_.empty()) condition_.wait_for(lock, kEmptyPoll);
}

void MessageQueue::quit() {
  {
    const std::lock_guard lock(mutex_);
    quitting_ = true;
  }
  condition_.notify_all();
}

bool MessageQueue::isQuitting() const {
  const std::lock_guard lock(mutex_);
  return quitting_;
}

// -------------------------------------------------------------------------------------- Looper

Looper::Looper() : life_(std::make_shared<Life>()) {}

Looper::~Looper() {
  stop(true);
  {
    const std::lock_guard guard(life_->guard);
    life_->alive = false;
  }
  life_->queue.clearMessages();
}

void Looper::run(Looper* looper, const std::shared_ptr<Life>& life) {
  current_life = life.get();
  const std::lock_guard guard(life->guard);
  if (!life->alive || !looper->enter()) return;
  looper->loop();
  if (life->alive) looper->exit();
}

void Looper::loop() {
  // A message may destroy this looper: only the Life is used from here on.
  const auto life = life_;
  const Unguarded messages_run_unguarded(life->guard);
  while (const auto message = life->queue.next()) message->process();
}

bool Looper::start() {
  std::thread previous;
  {
    const std::lock_guard lock(control_);
    if (thread_.joinable() && !life_->queue.isQuitting()) return true;
    previous = std::exchange(thread_, std::thread(&Looper::run, this, life_));
  }
  part(std::move(previous), true);  // started after a stop, so it ends by itself
  return true;
}

void Looper::stop(bool join) {
  std::thread thread;
  {
    const std::lock_guard lock(control_);
    if (!thread_.joinable()) return;
    thread = std::move(thread_);
  }
  life_->queue.quit();
  part(std::move(thread), join);
}

void Looper::part(std::thread thread, bool join) {
  if (!thread.joinable()) return;
  if (join && thread.get_id() != std::this_thread::get_id()) {
    thread.join();
  } else {
    thread.detach();
  }
}

bool Looper::isCurrentLooperThread() const {
  return current_life == life_.get();
}

// ------------------------------------------------------------------------------------- Handler

bool Handler::sendMessage(std::shared_ptr<Message> message) {
  return sendMessageDelayedMs(std::move(message), 0);
}

bool Handler::sendMessageDelayedMs(std::shared_ptr<Message> message, uint32_t delay_ms) {
  if (!message) return false;
  // The message may have run, and destroyed the looper, before the post returns.
  const auto life = looper_->life_;
  life->queue.postMessage(std::move(message), std::chrono::milliseconds(delay_ms));
  return true;
}

bool Handler::hasMessage(const std::shared_ptr<Message>& message) const {
  return message && looper_->life_->queue.hasMessage(message);
}

bool Handler::removeMessage(const std::shared_ptr<Message>& message) {
  return message && looper_->life_->queue.removeMessage(message);
}

}  // namespace LumoLivePushElectronSDK

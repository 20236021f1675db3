// A message loop: a Looper owns one thread and the queue that feeds it, a Handler posts Messages to
// it, at once or after a delay, and the thread runs each message when it falls due.
//
// Waking up. The queue is sorted by due time; equal times keep their posting order. Posting wakes
// the thread only when the new message becomes the first one: a message behind the first cannot
// shorten the current wait.
//
// The last millisecond. Waits are cut to whole milliseconds so that they never overshoot, and the
// rest, below one millisecond, is spent in a busy loop. A message therefore never runs early, and
// late only by the scheduling delay of the operating system.
//
// A thread that outlives its looper. stop(false), and destruction on the looper's own thread,
// detach the thread, which may still be running a message. It shares the looper's Life: the queue,
// and a guard with a flag that is set while the looper exists. The thread holds the guard whenever
// it is inside the looper's operations and releases it only while loop() waits for messages and
// runs them; the destructor takes the guard to clear the flag. So no operation is called on a
// destroyed looper, and the queue that the thread returns to still exists.
//
// Thread: any, unless stated otherwise.
// Ownership: messages are shared; a message's identity is the identity of the object.
// Failure: start() passes on std::system_error when no thread can be created. An exception that
//   escapes a message ends the process.

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace LumoLivePushElectronSDK {

// A task for a looper's thread.
class Message {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = std::chrono::time_point<Clock, std::chrono::nanoseconds>;

  Message(std::string label, Time due) : name(std::move(label)), when(due) {}
  virtual ~Message() = default;
  virtual void process() = 0;
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  const std::string name;  // for debugging
  // The due time. While the message is queued it belongs to the queue's mutex. Posting an object
  // that is already queued sets the new time for both of its entries and does not move the older
  // one.
  Time when;
};

// A message that invokes a callable without arguments.
template <typename Callable>
class Message0 final : public Message {
 public:
  Message0(std::string label, Time due, Callable callable)
      : Message(std::move(label), due), callable_(std::move(callable)) {}
  void process() override { callable_(); }

 private:
  Callable callable_;
};

// The due time is set when the message is posted.
template <typename Callable>
std::shared_ptr<Message> makeMessage0(std::string name, Callable callable) {
  return std::make_shared<Message0<Callable>>(std::move(name), Message::Time(),
                                              std::move(callable));
}

class MessageQueue {
 public:
  // Inserts by the due time that the message carries. The message must not be null.
  void enqueueMessage(std::shared_ptr<Message> message);

  // Sets the due time to now plus `delay` and inserts, in one step: the due time of a message that
  // is already queued must not change while the consumer reads it.
  void postMessage(std::shared_ptr<Message> message, std::chrono::milliseconds delay);

  // Returns whether this object (compared by identity) is queued.
  bool hasMessage(const std::shared_ptr<Message>& message) const;

  // Removes the first entry with this object; returns false when there is none.
  bool removeMessage(const std::shared_ptr<Message>& message);

  // Drops every entry without waking a waiting thread.
  void clearMessages();

  // Blocks until the first message is due and returns it; null once the queue is quitting, at once
  // and whatever is queued.
  std::shared_ptr<Message> next();

  // Blocks until the queue is empty or quitting. Polls every 20 ms.
  void waitUntilNoPendingMessage();

  // Ends every current and future wait.
  void quit();
  bool isQuitting() const;

 private:
  // Returns whether the message became the first one, so that the consumer must be woken.
  bool insertSorted(std::shared_ptr<Message> message);

  std::list<std::shared_ptr<Message>> messages_;  // the earliest first
  mutable std::mutex mutex_;
  std::condition_variable condition_;
  bool quitting_ = false;
};

// A derived class does not use stop(false) and calls stop(true) in its own destructor: the thread
// may be inside its operations.
class Looper {
 public:
  Looper();
  // Ends the loop. Joins the thread, or detaches it when this is that thread. After stop(false) it
  // does not wait for the message that may be running, only for enter() or exit().
  virtual ~Looper();
  Looper(const Looper&) = delete;
  Looper& operator=(const Looper&) = delete;

  // Starts the thread unless it runs. Returns true. A stopped looper cannot be restarted: its new
  // thread ends at once.
  bool start();

  // Ends the loop; messages that are still queued are never run. Waits for the thread when `join`
  // is true, except on that thread itself. A second call does nothing.
  void stop(bool join);

  bool isCurrentLooperThread() const;

 protected:
  // Run on the looper's thread. When enter() returns false, neither loop() nor exit() follows. The
  // looper must not be destroyed inside enter() or exit().
  virtual bool enter() { return true; }
  // An override that runs messages itself keeps the guard, so that destruction waits for it.
  virtual void loop();
  virtual void exit() {}

 private:
  friend class Handler;

  struct Life {
    std::mutex guard;
    bool alive = true;
    MessageQueue queue;
  };

  static void run(Looper* looper, const std::shared_ptr<Life>& life);
  // Joins the thread; detaches it instead if `join` is false or it is the calling thread.
  static void part(std::thread thread, bool join);

  std::mutex control_;  // guards thread_
  std::thread thread_;
  const std::shared_ptr<Life> life_;
};

// Posts to one looper, which it does not own and which must exist while the handler is used.
// Every operation returns false for a null message and does nothing.
class Handler {
 public:
  explicit Handler(Looper* looper) : looper_(looper) {}

  bool sendMessage(std::shared_ptr<Message> message);
  bool sendMessageDelayedMs(std::shared_ptr<Message> message, uint32_t delay_ms);
  bool hasMessage(const std::shared_ptr<Message>& message) const;
  bool removeMessage(const std::shared_ptr<Message>& message);

 private:
  Looper* looper_;
};

}  // namespace LumoLivePushElectronSDK

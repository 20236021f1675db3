#include "scripted_sdk/threads.h"

#include <pthread.h>

#include <atomic>
#include <map>
#include <thread>

namespace ScriptedSdk {

namespace {

const std::thread::id kLoadingThread = std::this_thread::get_id();

thread_local const NativeThread* currentNativeThread = nullptr;

// Never destroyed: its threads run until the process ends.
struct NativeThreads {
  std::mutex mutex;
  std::map<std::string, NativeThread*> byName;
};

NativeThreads& nativeThreads() {
  static auto& threads = *new NativeThreads;
  return threads;
}

std::string currentThreadName() {
  if (std::this_thread::get_id() == kLoadingThread) return "js";
  if (currentNativeThread) return currentNativeThread->name();
  char name[64] = "";
  pthread_getname_np(pthread_self(), name, sizeof name);
  return name;
}

void setSystemThreadName(const std::string& name) {
  const std::string shown = name.substr(0, 15);  // Linux takes no more
#ifdef __APPLE__
  pthread_setname_np(shown.c_str());
#else
  pthread_setname_np(pthread_self(), shown.c_str());
#endif
}

}  // namespace

Json currentThreadJson() {
  static std::atomic<int> nextIndex{0};
  thread_local const int index = nextIndex++;
  const bool js = std::this_thread::get_id() == kLoadingThread;
  return {{"index", index}, {"name", currentThreadName()}, {"js", js}};
}

NativeThread::NativeThread(const std::string& name) : name_(name) {
  std::thread([this] { run(); }).detach();
}

void NativeThread::post(std::function<void()> job) {
  std::lock_guard lock(mutex_);
  jobs_.push_back(std::move(job));
  changed_.notify_all();
}

bool NativeThread::settle() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kHangGuard, [this] { return jobs_.empty() && !busy_; });
}

bool NativeThread::isCurrent() const {
  return currentNativeThread == this;
}

void NativeThread::run() {
  currentNativeThread = this;
  setSystemThreadName(name_);
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return !jobs_.empty(); });
    auto job = std::move(jobs_.front());
    jobs_.pop_front();
    busy_ = true;
    lock.unlock();
    job();
    job = nullptr;  // what the job held goes before the thread counts as settled
    lock.lock();
    busy_ = false;
    changed_.notify_all();
  }
}

NativeThread& nativeThread(const std::string& name) {
  auto& threads = nativeThreads();
  std::lock_guard lock(threads.mutex);
  auto& thread = threads.byName[name];
  if (!thread) thread = new NativeThread(name);
  return *thread;
}

void settleNativeThreads() {
  auto& threads = nativeThreads();
  std::unique_lock lock(threads.mutex);
  const auto all = threads.byName;
  lock.unlock();
  for (const auto& [name, thread] : all) {
    if (!thread->settle()) throw std::runtime_error("thread '" + name + "' is still busy");
  }
}

}  // namespace ScriptedSdk

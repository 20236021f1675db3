// A value that one thread replaces while another one reads it: parameters arrive on the JavaScript
// thread while the capture thread uses them.
//
// Thread: any. The lock is only held for swapping two pointers, so waits are short.
// Ownership: a reader shares the value, which never changes.

#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace ExamplePlugins {

template <typename Value>
class SharedValue {
 public:
  std::shared_ptr<const Value> get() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }

  void set(Value value) {
    auto next = std::make_shared<const Value>(std::move(value));
    const std::lock_guard lock(mutex_);
    value_.swap(next);
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Value> value_ = std::make_shared<const Value>();
};

}  // namespace ExamplePlugins

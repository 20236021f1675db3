// Holds an object for the life of the process: threads that outlive main() may still use it.
//
// Thread: as a function-local static, construction is safe from any thread.
// Ownership: the object's memory is the holder's own; it is never destroyed.
// Failure: that of the object's constructor.

#pragma once

#include <memory>
#include <utility>

namespace NimboEngine {

template <class T>
class NeverDestroyed {
 public:
  template <class... Args>
  explicit NeverDestroyed(Args&&... args) {
    std::construct_at(get(), std::forward<Args>(args)...);
  }
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T* get() { return reinterpret_cast<T*>(storage_); }
  T* operator->() { return get(); }
  T& operator*() { return *get(); }

 private:
  alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace NimboEngine

// Ties callbacks to the lifetime of their owner: once the owner is destroyed, they do nothing.
//
// Thread: create, bind and destroy on the thread on which the bound callbacks run (the engine
//   thread); a bound callback may be copied and dropped anywhere.
// Ownership: a member of the owner, declared last so that it is destroyed first.
// Failure: none.

#pragma once

#include <memory>
#include <utility>

namespace NimboEngine {

class WeakOwnerGuard {
 public:
  WeakOwnerGuard() : alive_(std::make_shared<char>()) {}
  WeakOwnerGuard(const WeakOwnerGuard&) = delete;
  WeakOwnerGuard& operator=(const WeakOwnerGuard&) = delete;

  template <class Function>
  auto bind(Function function) const {
    return [alive = std::weak_ptr<char>(alive_),
            function = std::move(function)](auto&&... arguments) mutable {
      if (!alive.expired()) function(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  std::shared_ptr<char> alive_;
};

}  // namespace NimboEngine

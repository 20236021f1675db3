// One call of an SDK operation: records it, performs the test's hooked actions, and returns the
// scripted result.
//
// Thread: any. No lock is held while hooked callbacks run.
// Failure: none; results were checked when the test set them.

#pragma once

#include <cstdint>

#include "scripted_sdk/operations.h"

namespace ScriptedSdk {

class Call {
 public:
  // `name` is the operation's whole name; `self` the object, null for a static function.
  Call(const char* name, const void* self, Json args);

  // Marks in the call's record that the object had been destroyed before.
  void markDestroyed();

  // The operation's result of this call.
  Json answer();
  void recordResult(Json result);

  const Operation& operation() const { return operation_; }
  const void* self() const { return self_; }

 private:
  const Operation& operation_;
  const void* self_;
  uint64_t seq_;
};

}  // namespace ScriptedSdk

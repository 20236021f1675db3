// One call of an SDK operation, as every operation makes it: record it, perform what the test
// hooked to it, and answer as told.
//
// Thread: any. No lock is held while hooked callbacks run.
// Failure: none; answers were checked when the test gave them.

#pragma once

#include <cstdint>

#include "scripted_sdk/operations.h"

namespace ScriptedSdk {

class Call {
 public:
  // `name` is the operation's whole name; `self` the object, null for a static function.
  Call(const char* name, const void* self, Json args);

  // Says in the call's record that the object had been destroyed before.
  void markDestroyed();

  // The operation's answer to this call.
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

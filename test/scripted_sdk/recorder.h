// The one ordered record of everything that was done with the library.
//
// An entry has "seq", "kind", what its maker gave, and the "thread" that made it.
//
// Thread: any.
// Failure: none.

#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>

#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

enum class Kind { kCall, kLog, kList, kArray, kString };

class Recorder {
 public:
  // Appends `entry`. Returns its sequence number, which no later entry of the process has.
  uint64_t add(Kind kind, const Json& entry);

  // Sets a field of an entry; nothing happens when it has been forgotten.
  void complete(uint64_t seq, const char* key, Json value);

  Json entries() const;
  void forget();

  // Calls of objects after their end, through the life of the process: cheaper to ask for than to
  // look for in the entries.
  void countLateCall() { ++lateCalls_; }
  uint64_t lateCalls() const { return lateCalls_; }

  // Strings come and go by the dozen in one call, so they are recorded only on demand.
  void recordStrings(bool on) { recordsStrings_ = on; }
  bool recordsStrings() const { return recordsStrings_; }

 private:
  mutable std::mutex mutex_;
  std::deque<Json> entries_;
  uint64_t nextSeq_ = 1;
  std::atomic<uint64_t> lateCalls_{0};
  std::atomic<bool> recordsStrings_{false};
};

// Lives until the process ends: listeners may be called, and objects end, that late.
Recorder& recorder();

}  // namespace ScriptedSdk

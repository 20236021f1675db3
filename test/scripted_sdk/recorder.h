// The ordered record of everything that was done with the library.
//
// An entry has "seq", "kind", the given fields, and the "thread" that added it.
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

  // Sets a field of an entry; does nothing if it has been cleared.
  void complete(uint64_t seq, const char* key, Json value);

  Json entries() const;
  void forget();

  // The number of calls on destroyed objects during the life of the process: cheaper than searching
  // the entries.
  void countLateCall() { ++lateCalls_; }
  uint64_t lateCalls() const { return lateCalls_; }

  // A call creates and destroys dozens of Strings, so they are recorded only on demand.
  void recordStrings(bool on) { recordsStrings_ = on; }
  bool recordsStrings() const { return recordsStrings_; }

 private:
  mutable std::mutex mutex_;
  std::deque<Json> entries_;
  uint64_t nextSeq_ = 1;
  std::atomic<uint64_t> lateCalls_{0};
  std::atomic<bool> recordsStrings_{false};
};

// Never destroyed: listeners may be called, and objects destroyed, until the process ends.
Recorder& recorder();

}  // namespace ScriptedSdk

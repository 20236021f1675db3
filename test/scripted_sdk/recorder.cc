#include "scripted_sdk/recorder.h"

#include "scripted_sdk/threads.h"

namespace ScriptedSdk {

namespace {

const char* kindName(Kind kind) {
  switch (kind) {
    case Kind::kCall:
      return "call";
    case Kind::kLog:
      return "log";
    case Kind::kList:
      return "list";
    case Kind::kArray:
      return "array";
    case Kind::kString:
      return "string";
  }
  return "";
}

}  // namespace

uint64_t Recorder::add(Kind kind, const Json& entry) {
  Json thread = currentThreadJson();
  std::lock_guard lock(mutex_);
  Json whole = {{"seq", nextSeq_}, {"kind", kindName(kind)}};
  whole.update(entry);
  whole["thread"] = std::move(thread);
  entries_.push_back(std::move(whole));
  return nextSeq_++;
}

void Recorder::complete(uint64_t seq, const char* key, Json value) {
  std::lock_guard lock(mutex_);
  const uint64_t first = nextSeq_ - entries_.size();
  if (seq >= first) entries_[seq - first][key] = std::move(value);
}

Json Recorder::entries() const {
  std::lock_guard lock(mutex_);
  return Json(entries_);
}

void Recorder::forget() {
  std::lock_guard lock(mutex_);
  entries_.clear();
}

Recorder& recorder() {
  static auto& instance = *new Recorder;
  return instance;
}

}  // namespace ScriptedSdk

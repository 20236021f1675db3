#include "scripted_sdk/strings.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>

#include "scripted_sdk/recorder.h"

namespace ScriptedSdk {

namespace {

const char kNullText[] = "";  // its address marks a String built from null

std::atomic<int> aliveStrings{0};

thread_local int sdkDepth = 0;

char* duplicate(const char* text) {
  return text ? strdup(text) : nullptr;
}

// `from`: the String that was copied or assigned, if any.
void record(const char* name, const LumoRtc::String& self, const LumoRtc::String* from = nullptr) {
  if (!recorder().recordsStrings()) return;
  Json entry = {{"name", name}, {"self", pointerJson(&self)}, {"text", textJson(self)}};
  if (from) entry["from"] = pointerJson(from);
  if (sdkDepth > 0) entry["bySdk"] = true;
  recorder().add(Kind::kString, entry);
}

}  // namespace

Json textJson(const LumoRtc::String& text) {
  return text.c_str() == kNullText ? Json() : textJson(text.c_str());
}

LumoRtc::String makeString(const Text& text) {
  const SdkScope scope;
  return text ? text->c_str() : nullptr;
}

const char* immortalText(const Text& text) {
  static auto& mutex = *new std::mutex;
  static auto& texts = *new std::set<std::string>;
  if (!text) return nullptr;
  std::lock_guard lock(mutex);
  return texts.insert(*text).first->c_str();
}

int stringsAlive() {
  return aliveStrings;
}

SdkScope::SdkScope() {
  ++sdkDepth;
}
SdkScope::~SdkScope() {
  --sdkDepth;
}

}  // namespace ScriptedSdk

namespace LumoRtc {

using ScriptedSdk::aliveStrings;
using ScriptedSdk::duplicate;
using ScriptedSdk::record;

String::String(const char* text) : mText(duplicate(text)) {
  ++aliveStrings;
  record("construct", *this);
}

String::String(const String& other) : mText(duplicate(other.mText)) {
  ++aliveStrings;
  record("copy", *this, &other);
}

String& String::operator=(const String& other) {
  if (this != &other) {
    std::free(mText);
    mText = duplicate(other.mText);
  }
  record("assign", *this, &other);
  return *this;
}

String::~String() {
  record("destroy", *this);
  std::free(mText);
  --aliveStrings;
}

const char* String::c_str() const {
  return mText ? mText : ScriptedSdk::kNullText;
}

}  // namespace LumoRtc

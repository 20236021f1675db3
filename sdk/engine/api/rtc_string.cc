#include <cstdlib>
#include <cstring>
#include <utility>

#include "NimboSdk/LumoRtcString.h"

namespace LumoRtc {

// Out of memory reads back as an empty text: this class must not throw across the boundary.
String::String(const char* text) : mText(text && *text ? strdup(text) : nullptr) {}

String::String(const String& other) : String(other.mText) {}

String& String::operator=(const String& other) {
  String copy(other);
  std::swap(mText, copy.mText);
  return *this;
}

String::~String() {
  std::free(mText);
}

const char* String::c_str() const {
  return mText ? mText : "";
}

}  // namespace LumoRtc

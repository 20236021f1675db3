// The string class that crosses the SDK boundary by value.

#pragma once

#include "NimboSdk/LumoRtcExport.h"

namespace LumoRtc {

// An owned, immutable, zero-terminated UTF-8 text.
//
// Thread: a String is a plain value; distinct objects may be used from distinct threads.
// Ownership: copies the characters it is given.
// Failure: a null text is accepted and reads back as "".
class LUMO_RTC_EXPORT String {
 public:
  String(const char* text = nullptr);
  String(const String& other);
  String& operator=(const String& other);
  ~String();

  // Valid until this String is assigned to or destroyed. Never null.
  const char* c_str() const;

 private:
  char* mText;  // null for an empty text
};

}  // namespace LumoRtc

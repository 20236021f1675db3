// Symbol visibility of the NimboSdk library.

#pragma once

// Everything in these headers that is not an abstract interface lives in the library and is
// exported from it. Users and implementers of the interface see the same declaration: ELF and
// Mach-O need no import counterpart.
#define LUMO_RTC_EXPORT __attribute__((visibility("default")))

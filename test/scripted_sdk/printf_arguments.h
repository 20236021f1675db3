// Reads a printf call's arguments as values, without formatting them.
//
// Thread: any.

#pragma once

#include <cstdarg>

#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

// The arguments that `format` asks for, in order: integers and floating-point numbers as numbers,
// %c and %s as texts, %p as a pointer; a width or precision given by "*" is an argument too.
// Reading stops at an unknown conversion, which is then the last entry, as {"unknown": "<the
// conversion>"}.
Json printfArguments(const char* format, va_list arguments);

}  // namespace ScriptedSdk

// Every operation of the interface: its name, and the results that a test may script (answers.h).
//
// Thread: any.

#pragma once

#include <span>
#include <string>

#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

struct Operation {
  const char* name;                 // "pusher.startPush"
  Json (*initial)();                // the answer when the test gives none
  void (*check)(const Json& json);  // throws std::invalid_argument
};

std::span<const Operation> operations();

// Finds an operation by its whole name, or by the part behind the dot when only one object has
// such an operation. Throws std::invalid_argument.
const Operation& findOperation(const std::string& name);

// Throws std::invalid_argument if `operation` cannot return `answer`.
void checkAnswer(const Operation& operation, const Json& answer);

}  // namespace ScriptedSdk

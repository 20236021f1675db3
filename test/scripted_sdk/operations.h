// Every operation of the interface: its name and what a test may let it answer.
//
// Thread: any.

#pragma once

#include <span>
#include <string>

#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

enum class AnswerKind {
  kNothing,             // the operation has no result
  kInt,                 // default 0
  kUnsigned,            // default 0
  kBool,                // default false
  kText,                // default ""; null makes a String from a null pointer
  kVersion,             // default ""; null is a null pointer
  kObject,              // "new" (default) or null: the creation fails
  kDeviceList,          // see lists.h; default empty
  kNullableDeviceList,  // likewise, or null
  kScreenList,          // likewise, or null
  kEncoderConfig,       // any fields of the record, the others 0
};

struct Operation {
  const char* name;  // "pusher.startPush"
  AnswerKind answer;
};

std::span<const Operation> operations();

// Finds an operation by its whole name, or by the part behind the dot when only one object has
// such an operation. Throws std::invalid_argument.
const Operation& findOperation(const std::string& name);

// The kind's default answer.
Json defaultAnswer(AnswerKind kind);

// Throws std::invalid_argument when `operation` cannot answer `answer`.
void checkAnswer(const Operation& operation, const Json& answer);

}  // namespace ScriptedSdk

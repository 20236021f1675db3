#include "scripted_sdk/operations.h"

#include <sstream>

#include "scripted_sdk/objects.h"

namespace ScriptedSdk {

namespace {

template <class Result>
constexpr Operation operation(const char* name) {
  return {name, &Answer<Result>::initial, &Answer<Result>::check};
}

constexpr Operation kOperations[] = {
#include "generated/scripted_sdk/operations.inc"
};

}  // namespace

std::span<const Operation> operations() {
  return kOperations;
}

const Operation& findOperation(const std::string& name) {
  const Operation* found = nullptr;
  for (const auto& operation : kOperations) {
    const std::string_view whole = operation.name;
    if (whole == name) return operation;
    if (whole.substr(whole.find('.') + 1) != name) continue;
    if (found) {
      std::ostringstream error;
      error << "'" << name << "' may be " << found->name << " or " << whole;
      throw std::invalid_argument(error.str());
    }
    found = &operation;
  }
  if (!found) throw std::invalid_argument("no operation '" + name + "'");
  return *found;
}

void checkAnswer(const Operation& operation, const Json& answer) {
  try {
    operation.check(answer);
  } catch (const std::exception& error) {
    throw std::invalid_argument(std::string(operation.name) + ": " + error.what());
  }
}

}  // namespace ScriptedSdk

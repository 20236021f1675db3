#include "scripted_sdk/call.h"

#include "scripted_sdk/recorder.h"
#include "scripted_sdk/script.h"

namespace ScriptedSdk {

namespace {

Json callEntry(const std::string& name, const void* self, Json args) {
  const auto dot = name.find('.');
  return {{"object", name.substr(0, dot)},
          {"name", name.substr(dot + 1)},
          {"self", pointerJson(self)},
          {"args", std::move(args)}};
}

}  // namespace

Call::Call(const char* name, const void* self, Json args)
    : operation_(findOperation(name)),
      self_(self),
      seq_(recorder().add(Kind::kCall, callEntry(name, self, std::move(args)))) {
  Json fired = Json::array();
  for (const auto& action : script().takeActions(operation_)) fired.push_back(action());
  if (!fired.empty()) recorder().complete(seq_, "fired", std::move(fired));
}

void Call::markDestroyed() {
  recorder().complete(seq_, "destroyed", true);
  recorder().countLateCall();
}

Json Call::answer() {
  return script().takeAnswer(operation_);
}

void Call::recordResult(Json result) {
  recorder().complete(seq_, "result", std::move(result));
}

}  // namespace ScriptedSdk

#include "scripted_sdk/script.h"

#include <utility>

namespace ScriptedSdk {

void Script::setStandingAnswer(const Operation& operation, Json answer) {
  std::lock_guard lock(mutex_);
  standing_[operation.name] = std::move(answer);
}

void Script::queueAnswer(const Operation& operation, Json answer) {
  std::lock_guard lock(mutex_);
  queued_[operation.name].push_back(std::move(answer));
}

Json Script::takeAnswer(const Operation& operation) {
  std::lock_guard lock(mutex_);
  if (auto& queue = queued_[operation.name]; !queue.empty()) {
    Json answer = std::move(queue.front());
    queue.pop_front();
    return answer;
  }
  const auto standing = standing_.find(operation.name);
  return standing != standing_.end() ? standing->second : operation.initial();
}

void Script::onCall(const Operation& operation, std::vector<Action> actions, int times) {
  std::lock_guard lock(mutex_);
  hooks_[operation.name].push_back({std::move(actions), times});
}

std::vector<Script::Action> Script::takeActions(const Operation& operation) {
  std::lock_guard lock(mutex_);
  std::vector<Action> due;
  auto& hooks = hooks_[operation.name];
  for (auto& hook : hooks) {
    due.insert(due.end(), hook.actions.begin(), hook.actions.end());
    --hook.times;
  }
  hooks.remove_if([](const Hook& hook) { return hook.times <= 0; });
  return due;
}

void Script::forget() {
  std::lock_guard lock(mutex_);
  standing_.clear();
  queued_.clear();
  hooks_.clear();
}

Script& script() {
  static auto& instance = *new Script;
  return instance;
}

}  // namespace ScriptedSdk

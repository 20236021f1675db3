// The test's script for each operation: the results, and the callbacks to fire.
//
// Thread: any.

#pragma once

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "scripted_sdk/operations.h"

namespace ScriptedSdk {

class Script {
 public:
  // Something to do when an operation is called; the result goes into the call's record.
  using Action = std::function<Json()>;

  // Answers must have passed checkAnswer().
  void setStandingAnswer(const Operation& operation, Json answer);
  void queueAnswer(const Operation& operation, Json answer);

  // The next queued answer, else the standing one, else the default.
  Json takeAnswer(const Operation& operation);

  // Makes the next `times` calls of the operation perform `actions`, in order, before they take
  // effect.
  void onCall(const Operation& operation, std::vector<Action> actions, int times);

  // The actions that a call made now must perform.
  std::vector<Action> takeActions(const Operation& operation);

  void forget();

 private:
  struct Hook {
    std::vector<Action> actions;
    int times;
  };

  std::mutex mutex_;
  std::map<std::string, Json> standing_;
  std::map<std::string, std::deque<Json>> queued_;
  std::map<std::string, std::list<Hook>> hooks_;
};

// Never destroyed.
Script& script();

}  // namespace ScriptedSdk

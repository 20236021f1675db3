// A pusher and a player that record their calls and return scripted results.
//
// Thread: any.
// Failure: none.

#pragma once

#include "generated/scripted_sdk/objects.h"

namespace ScriptedSdk {

class Pusher final : public PusherOperations {
 public:
  static constexpr const char* kArgument = "pusher";

 private:
  Call call(const char* name, Json args) const override;
};

class Player final : public PlayerOperations {
 public:
  static constexpr const char* kArgument = "player";

  void destroy() override;

 private:
  Call call(const char* name, Json args) const override;
};

}  // namespace ScriptedSdk

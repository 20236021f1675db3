// The interface's list of screens and windows that can be shared.
//
// Thread: that of its caller.
// Ownership: created by make(), owned by the caller until release(), which destroys it.
// Failure: an index past the end yields an empty record.

#pragma once

#include <vector>

#include "NimboSdk/LumoLivePusher.h"
#include "platform/screen/screen.h"

namespace NimboEngine {

class ScreenSourceList final : public LumoRtc::LumoLiveScreenSourceList {
 public:
  static LumoRtc::LumoLiveScreenSourceList* make(std::vector<ScreenSource> sources);

  uint32_t getCount() override;
  LumoRtc::LumoLiveScreenSourceInfo getSource(uint32_t index) override;
  void release() override;

 private:
  explicit ScreenSourceList(std::vector<ScreenSource> sources) : sources_(std::move(sources)) {}
  ~ScreenSourceList() = default;

  const std::vector<ScreenSource> sources_;
};

}  // namespace NimboEngine

#include "api/screen_source_list.h"

#include <utility>

namespace NimboEngine {

using namespace LumoRtc;

LumoLiveScreenSourceList* ScreenSourceList::make(std::vector<ScreenSource> sources) {
  return new ScreenSourceList(std::move(sources));
}

uint32_t ScreenSourceList::getCount() {
  return static_cast<uint32_t>(sources_.size());
}

LumoLiveScreenSourceInfo ScreenSourceList::getSource(uint32_t index) {
  if (index >= sources_.size()) return {};
  return {static_cast<int64_t>(sources_[index].id.number), sources_[index].name.c_str()};
}

void ScreenSourceList::release() {
  delete this;
}

}  // namespace NimboEngine

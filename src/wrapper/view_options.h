// The options of the preview and of a player's view.

#pragma once

#include <cstdint>

#include "wrapper/option_reader.h"

namespace LumoLivePushElectronSDK {

struct ViewOptions {
  v8::Local<v8::Value> view;  // a Buffer that holds the native window handle, or anything else
  uint32_t width = 0;
  uint32_t height = 0;

  // The Buffer's data, null without one. To be called when all options have been read: a getter of
  // a later one may detach the Buffer's memory.
  void* Handle(v8::Isolate* isolate) const {
    return view.IsEmpty() ? nullptr : TypeConverterUtils::GetCharValue(isolate, view);
  }
};

inline constexpr OptionTable<ViewOptions, 3> kViewKeys{
    option<&ViewOptions::view>("view"),
    option<&ViewOptions::width>("width"),
    option<&ViewOptions::height>("height"),
};

}  // namespace LumoLivePushElectronSDK

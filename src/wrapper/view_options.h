// Where a picture is shown: the options of the preview and of a player's view.

#pragma once

#include <cstdint>

#include "wrapper/option_reader.h"

namespace LumoLivePushElectronSDK {

struct ViewOptions {
  void* view = nullptr;  // data of the Buffer that holds the native window handle
  uint32_t width = 0;
  uint32_t height = 0;
};

inline constexpr OptionTable<ViewOptions, 3> kViewKeys{
    option<&ViewOptions::view>("view"),
    option<&ViewOptions::width>("width"),
    option<&ViewOptions::height>("height"),
};

}  // namespace LumoLivePushElectronSDK

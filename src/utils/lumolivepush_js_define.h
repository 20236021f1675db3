// Names and numbers that JavaScript receives: the events and the add-on's own error codes.

#pragma once

#include "generated/event_names.h"

namespace LumoLivePushElectronSDK {

// The add-on's own errors, reported as the bare number of "onOccurError".
enum LumoLivePushJSWrapperErrorCode {
  kInvalidParam = -101,  // a method was called with arguments of the wrong number or type
};

}  // namespace LumoLivePushElectronSDK

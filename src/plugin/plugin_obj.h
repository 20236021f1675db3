// A loaded plug-in, and the call of all loaded plug-ins for a captured frame.

#pragma once

#include <map>
#include <string>

#include "NimboSdk/LumoLiveDefine.h"
#include "plugin/IVideoFramePlugin.h"

namespace LumoLivePushElectronSDK {

// Ownership: the instance belongs to its library, which `handle` (of dlopen) keeps open.
struct PluginObj {
  INimboPlugin* plugin = nullptr;
  void* handle = nullptr;
};

// Key: the plug-in ID chosen by the application. A lookup of an unknown ID inserts a null value,
// which every loop skips.
using PluginMap = std::map<std::string, PluginObj*>;

// Runs every plug-in that is an IVideoFramePlugin over `frame`, in the order of their IDs. Returns
// whether there was one.
//
// Thread: any, while the map is not changed.
bool ProcessFrameWithPlugins(const PluginMap& plugins, const LumoRtc::LumoLiveVideoRawData& frame);

}  // namespace LumoLivePushElectronSDK
